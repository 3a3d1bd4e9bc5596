#include "api/Exceptions.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace plate_mend {
namespace {

template <typename Exception>
struct ExpectedText;
template <>
struct ExpectedText<IllegalException> {
    static constexpr const char* kText = "Data is illegal";
};
template <>
struct ExpectedText<NotFoundException> {
    static constexpr const char* kText = "Data can not found";
};
template <>
struct ExpectedText<VisitingBeyondException> {
    static constexpr const char* kText = "Visiting beyond boundaries";
};
template <>
struct ExpectedText<OutRangeException> {
    static constexpr const char* kText = "Access out of range";
};
template <>
struct ExpectedText<MismatchingException> {
    static constexpr const char* kText = "Data is mismatching";
};

template <typename Exception>
class ExceptionFamily : public ::testing::Test {};

using Family = ::testing::Types<IllegalException, NotFoundException, VisitingBeyondException,
                                OutRangeException, MismatchingException>;
TYPED_TEST_SUITE(ExceptionFamily, Family);

TYPED_TEST(ExceptionFamily, WhatIsTheTextOfTheClassWhateverTheMessage) {
    EXPECT_STREQ(TypeParam().what(), ExpectedText<TypeParam>::kText);
    EXPECT_STREQ(TypeParam("something else").what(), ExpectedText<TypeParam>::kText);
}

TYPED_TEST(ExceptionFamily, MessageIsKeptAndNullByDefault) {
    EXPECT_EQ(TypeParam().message, nullptr);
    EXPECT_STREQ(TypeParam("something else").message, "something else");
}

TYPED_TEST(ExceptionFamily, DerivesFromStdExceptionAndIsCaughtAsIt) {
    static_assert(std::is_base_of_v<std::exception, TypeParam>);
    try {
        throw TypeParam();
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), ExpectedText<TypeParam>::kText);
    }
}

TEST(ExceptionFamilyAsAWhole, NoClassIsCaughtAsAnother) {
    static_assert(!std::is_base_of_v<IllegalException, NotFoundException>);
    static_assert(!std::is_base_of_v<OutRangeException, VisitingBeyondException>);
    static_assert(!std::is_base_of_v<VisitingBeyondException, OutRangeException>);
    EXPECT_THROW(throw NotFoundException(), NotFoundException);
}

} // namespace
} // namespace plate_mend
