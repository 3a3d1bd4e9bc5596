#include "e2e/RepairFixture.h"
