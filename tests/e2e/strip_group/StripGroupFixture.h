#pragma once

#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"
#include "support/StripPhoto.h"

#include <string>

namespace test {

/// Builds a photograph: make_orf or make_sr2.
using MakeStripPhoto = StripPhoto (*)(const StripPhotoOptions& options);

/// The photo with everything before its StripOffsets entry destroyed.
[[nodiscard]] Bytes front_destroyed(const StripPhoto& photo);

/// The photo with nothing in it but the header and the directories: no bytes of a tag by chance.
[[nodiscard]] Bytes without_pictures(const StripPhoto& photo);

/// Repairs of a format that finds the image of a damaged file by its group of strip entries.
class StripGroupFixture : public RepairFixture {
  protected:
    StripGroupFixture(const std::string& extension, MakeStripPhoto make,
                      ByteOrder order = ByteOrder::kLittle);

    /// A failure in the sample or damaged stage: the working copy stays, and there is no output.
    void expect_failure(const std::string& text) const;

    const RepairLog log;
    const std::string working_copy; ///< Its name.
    const StripPhoto sample;
    const StripPhoto original; ///< Its image offset is not the sample's.
    const Bytes damaged = front_destroyed(original);
};

} // namespace test
