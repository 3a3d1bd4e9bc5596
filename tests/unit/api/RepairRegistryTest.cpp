#include "api/RepairRegistry.h"

#include "ARW/ArwRepair.h"
#include "CR2/Cr2Repair.h"
#include "CR3/Cr3Repair.h"
#include "DNG/DngRepair.h"
#include "NEF/NefRepair.h"
#include "ORF/OrfRepair.h"
#include "RAF/RafRepair.h"
#include "SR2/Sr2Repair.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plate_mend {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> keys_of(const RepairRegistry& registry) {
    std::vector<std::string> keys;
    for (const auto& [key, factory] : registry.factories()) {
        keys.push_back(key);
    }
    return keys;
}

template <typename Repair>
bool makes(const std::string& extension) {
    const auto repairer = RepairRegistry::instance().create(extension);
    return dynamic_cast<Repair*>(repairer.get()) != nullptr;
}

TEST(RepairRegistry, HoldsNineKeysFromTheMomentItIsLoaded) {
    EXPECT_THAT(keys_of(RepairRegistry::instance()),
                ElementsAre("arw", "cr2", "cr3", "dng", "nef", "orf", "raf", "raw", "sr2"));
}

TEST(RepairRegistry, MakesTheRepairerOfEachKey) {
    EXPECT_TRUE(makes<ArwRepair>("arw"));
    EXPECT_TRUE(makes<ArwRepair>("raw"));
    EXPECT_TRUE(makes<Sr2Repair>("sr2"));
    EXPECT_TRUE(makes<RafRepair>("raf"));
    EXPECT_TRUE(makes<DngRepair>("dng"));
    EXPECT_TRUE(makes<Cr2Repair>("cr2"));
    EXPECT_TRUE(makes<NefRepair>("nef"));
    EXPECT_TRUE(makes<OrfRepair>("orf"));
    EXPECT_TRUE(makes<Cr3Repair>("cr3"));
}

TEST(RepairRegistry, MakesANewRepairerForEachCall) {
    const auto& registry = RepairRegistry::instance();
    EXPECT_NE(registry.create("arw"), registry.create("arw"));
}

TEST(RepairRegistry, MissesWhatIsNotExactlyAKey) {
    for (const char* key : {"", "ARW", "arw ", ".arw", "ar", "jpg", "tif"}) {
        EXPECT_EQ(RepairRegistry::instance().create(key), nullptr) << key;
    }
}

TEST(RepairRegistry, LaterRegistrationReplacesAnEarlierOne) {
    RepairRegistry registry;
    registry.add("key", [] { return std::make_shared<ArwRepair>(); });
    registry.add("key", [] { return std::make_shared<DngRepair>(); });
    EXPECT_THAT(keys_of(registry), ElementsAre("key"));
    const auto repairer = registry.create("key");
    EXPECT_NE(dynamic_cast<DngRepair*>(repairer.get()), nullptr);
}

} // namespace
} // namespace plate_mend
