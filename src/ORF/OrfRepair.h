#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

class OrfRepair final : public AbstractRepair {
  public:
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
