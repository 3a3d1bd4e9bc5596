#include "host/VerdictLaboratory.h"

#include <gtest/gtest.h>

#include <algorithm>
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
                                    "half of another photograph before it",
                                    "4 KiB of random bytes",
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
    EXPECT_GE(wholes, 2U) << "at least the undamaged one, and one with another head";
}

/// What looks like a photograph and is none, by a camera's name, a seed and the damage's name.
struct Deception {
    const char* camera;
    unsigned seed;
    const char* damage;
};

class NeverWhole : public ::testing::TestWithParam<Deception> {};

TEST_P(NeverWhole, IsWhatBreaksThePromise) {
    const auto& cameras = laboratory_cameras();
    const auto camera = std::find_if(cameras.begin(), cameras.end(), [](const LaboratoryCamera& one) {
        return one.name == GetParam().camera;
    });
    ASSERT_NE(camera, cameras.end());
    const auto results = run_laboratory(*camera, GetParam().seed, [](const VerdictDamage& damage) {
        return damage.name == GetParam().damage;
    });
    ASSERT_EQ(results.size(), 1U);
    EXPECT_TRUE(results[0].distance.breaks_promise()) << "or this says nothing";
    EXPECT_FALSE(results[0].called_whole());
}

INSTANTIATE_TEST_SUITE_P(
    CodedData, NeverWhole,
    ::testing::Values(Deception{"arw, differences", 2, "64 bytes of FF"},
                      Deception{"arw, differences", 3, "tail of another photograph, from 2 %"},
                      Deception{"nef, coded", 2, "tail of another photograph, from 2 %"},
                      Deception{"nef, coded", 3, "tail of another photograph, from 70 %"},
                      Deception{"cr3", 1, "512 random bytes"}, Deception{"cr3", 2, "32 KiB xor 01"}));

INSTANTIATE_TEST_SUITE_P(Cameras, VerdictsOf, ::testing::ValuesIn(laboratory_cameras()),
                         [](const auto& camera) {
                             std::string name = camera.param.name;
                             std::erase_if(name, [](char letter) { return letter == ',' || letter == ' '; });
                             return name;
                         });

} // namespace
} // namespace test
