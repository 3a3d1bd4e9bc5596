#include "Consistency.h"

#include "container/Describe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace raw_mend {

void expect_consistent(const test::Bytes& bytes, const Description& description) {
    EXPECT_EQ(inconsistency(bytes, description), "");
}

void expect_consistent(const test::Bytes& bytes, const std::optional<Description>& description) {
    if (description) {
        expect_consistent(bytes, *description);
    }
}

Description described(const test::Bytes& bytes) {
    const auto description = describe(bytes);
    EXPECT_TRUE(description);
    if (!description) {
        return {};
    }
    expect_consistent(bytes, *description);
    return *description;
}

Description understood(const test::Bytes& bytes) {
    Description description = described(bytes);
    EXPECT_THAT(description.not_understood, testing::IsEmpty());
    return description;
}

} // namespace raw_mend
