#include "CR3/VendorBoxes.h"

namespace plate_mend {

bool CCDTBox::check_data() const {
    if (data.size() < 16) {
        return false;
    }
    const unsigned int first = data[7];
    const unsigned int second = data[15];
    return (first == 0 || first == 1 || first == 16) && (second == 1 || second == 2 || second == 3);
}

bool XPacketDataBox::check_uuid() const {
    return uuid == BoxUuid{0xBE7ACFCB, 0x97A942E8, 0x9C719994, 0x91E3AFAC};
}

bool PreviewDataBox::check_uuid() const {
    return uuid == BoxUuid{0xEAF42B5E, 0x1C984B88, 0xB9FBB7DC, 0x406E4D16};
}

} // namespace plate_mend
