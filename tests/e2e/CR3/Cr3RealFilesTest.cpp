#include "e2e/RepairFixture.h"

#include "support/Cr3Photo.h"
#include "support/RealFiles.h"

#include <gmock/gmock.h>

namespace test {
namespace {
using Cr3RealFiles = RepairFixture;
}
} // namespace test
