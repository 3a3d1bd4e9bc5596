#include "host/VerdictLaboratory.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace test {
namespace {

/// Some damages of each kind; verdict_laboratory runs all, three times each.
bool is_chosen(const VerdictDamage& damage) {
    constexpr std::array kChosen = {"none",
                                    "another photograph before it",
                                    "photograph of another camera before it",
                                    "head of another photograph",
                                    "random bytes after it, 300",
                                    "512 random bytes",
                                    "4 KiB of 00",
                                    "64 bits flipped",
                                    "512 bytes lost",
                                    "sample: 8 bits of its head flipped"};
    for (const char* name : kChosen) {
        if (damage.name == name) {
            return true;
        }
    }
    return false;
}

class VerdictsOf : public ::testing::TestWithParam<LaboratoryCamera> {};

TEST_P(VerdictsOf, AgreeWithThePixels) {
    unsigned wholes = 0;
    for (const LaboratoryResult& result : run_laboratory(GetParam(), 1, is_chosen)) {
        EXPECT_FALSE(result.false_whole()) << result.damage << ": whole, but more is wrong than that allows";
        EXPECT_FALSE(result.too_strict()) << result.damage << ": the original's picture, but not whole";
        EXPECT_FALSE(result.too_rosy()) << result.damage << ": more promised than there is";
        wholes += result.called_whole() ? 1U : 0U;
    }
    EXPECT_GE(wholes, 2U) << "at least the undamaged one, and one with more bytes after it";
}

INSTANTIATE_TEST_SUITE_P(Cameras, VerdictsOf, ::testing::ValuesIn(laboratory_cameras()),
                         [](const auto& camera) {
                             std::string name = camera.param.name;
                             std::erase_if(name, [](char letter) { return letter == ',' || letter == ' '; });
                             return name;
                         });

} // namespace
} // namespace test
