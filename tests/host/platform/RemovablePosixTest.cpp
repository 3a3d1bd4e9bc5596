#include "platform/posix/Removable.h"

#include "platform/Files.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::platform::is_removable_device;

/// A folder in the shape of /sys.
class Removables : public ::testing::Test {
  protected:
    Removables() { fs::create_directories(folder / "dev" / "block"); }

    void write(const fs::path& name, const std::string& line) const {
        fs::create_directories((folder / name).parent_path());
        std::ofstream(folder / name) << line << '\n';
    }

    /// A disk at a place among the devices.
    void add_disk(const fs::path& place, const std::string& number, bool removable) const {
        write(place / "removable", removable ? "1" : "0");
        fs::create_directory_symlink(folder / place, folder / "dev" / "block" / number);
    }

    void add_partition(const fs::path& disk, const std::string& name, const std::string& number) const {
        write(disk / name / "partition", "1");
        fs::create_directory_symlink(folder / disk / name, folder / "dev" / "block" / number);
    }

    [[nodiscard]] bool is_removable(unsigned major, unsigned minor) const {
        return is_removable_device(folder.path(), major, minor);
    }

    TempDir folder;
};

TEST_F(Removables, DiskReportsIt) {
    add_disk("devices/pci0/ata1/block/sr0", "11:0", true);
    add_disk("devices/pci0/ata2/block/sda", "8:0", false);
    EXPECT_TRUE(is_removable(11, 0));
    EXPECT_FALSE(is_removable(8, 0));
}

TEST_F(Removables, PartitionsBelongToTheirDisk) {
    const fs::path stick = "devices/pci0/ata1/block/sda";
    const fs::path disk = "devices/pci0/ata2/block/sdb";
    add_disk(stick, "8:0", true);
    add_partition(stick, "sda1", "8:1");
    add_disk(disk, "8:16", false);
    add_partition(disk, "sdb2", "8:18");
    EXPECT_TRUE(is_removable(8, 1));
    EXPECT_FALSE(is_removable(8, 18));
}

TEST_F(Removables, MemoryCardInASlotIsAndSolderedMemoryIsNot) {
    const fs::path card = "devices/pci0/mmc_host/mmc0/mmc0:0001/block/mmcblk0";
    const fs::path soldered = "devices/pci0/mmc_host/mmc1/mmc1:0001/block/mmcblk1";
    add_disk(card, "179:0", false);
    add_partition(card, "mmcblk0p1", "179:1");
    add_disk(soldered, "179:8", false);
    add_partition(soldered, "mmcblk1p1", "179:9");
    write(card / "device" / "type", "SD");
    write(soldered / "device" / "type", "MMC");
    EXPECT_TRUE(is_removable(179, 0));
    EXPECT_TRUE(is_removable(179, 1));
    EXPECT_FALSE(is_removable(179, 8));
    EXPECT_FALSE(is_removable(179, 9));
}

TEST_F(Removables, DiskOnUsbIsRemovable) {
    const fs::path disk = "devices/pci0/0000:00:14.0/usb2/2-1/2-1:1.0/host6/block/sdc";
    add_disk(disk, "8:32", false);
    add_partition(disk, "sdc1", "8:33");
    add_disk("devices/pci0/usbfree/usb/usb3x/block/sdd", "8:48", false);
    EXPECT_TRUE(is_removable(8, 32));
    EXPECT_TRUE(is_removable(8, 33));
    EXPECT_FALSE(is_removable(8, 48));
}

TEST_F(Removables, PlaceOfTheTreeItselfDoesNotCount) {
    const fs::path root = folder / "usb1";
    fs::create_directories(root / "dev" / "block");
    fs::create_directories(root / "devices" / "sda");
    fs::create_directory_symlink(root / "devices" / "sda", root / "dev" / "block" / "8:0");
    EXPECT_FALSE(is_removable_device(root, 8, 0));
}

TEST_F(Removables, DisksBelowDecideForWhatIsBuiltOnThem) {
    const fs::path stick = "devices/pci0/usb1/1-1/block/sda";
    add_disk(stick, "8:0", false);
    add_partition(stick, "sda1", "8:1");
    add_disk("devices/pci0/ata1/block/sdb", "8:16", false);
    add_disk("devices/virtual/block/dm-0", "253:0", false);
    add_disk("devices/virtual/block/dm-1", "253:1", false);
    add_disk("devices/virtual/block/dm-2", "253:2", false);
    const auto build_on = [this](const std::string& device, const fs::path& below) {
        const fs::path slaves = folder / "devices/virtual/block" / device / "slaves";
        fs::create_directories(slaves);
        fs::create_directory_symlink(folder / below, slaves / below.filename());
    };
    build_on("dm-0", stick / "sda1");
    build_on("dm-1", "devices/virtual/block/dm-0");
    build_on("dm-2", "devices/pci0/ata1/block/sdb");
    EXPECT_TRUE(is_removable(253, 0));
    EXPECT_TRUE(is_removable(253, 1));
    EXPECT_FALSE(is_removable(253, 2));
}

TEST_F(Removables, DevicesThatAreBuiltOnThemselvesEnd) {
    add_disk("devices/virtual/block/dm-0", "253:0", false);
    const fs::path device = folder / "devices/virtual/block/dm-0";
    fs::create_directories(device / "slaves");
    fs::create_directory_symlink(device, device / "slaves" / "dm-0");
    EXPECT_FALSE(is_removable(253, 0));
}

TEST_F(Removables, WhatIsNotDescribedIsNot) {
    EXPECT_FALSE(is_removable(0, 42));
    EXPECT_FALSE(is_removable_device(folder / "missing", 8, 0));
    fs::create_directory_symlink(folder / "missing", folder / "dev" / "block" / "8:0");
    EXPECT_FALSE(is_removable(8, 0));
}

TEST_F(Removables, FileSystemsWithoutADiskAreNot) {
    EXPECT_FALSE(plate_mend::host::platform::is_removable("/proc/self/stat"));
}

} // namespace
} // namespace test
