#pragma once

#include "judge/Judge.h"
#include "judge/RawDecoder.h"

#include <string>
#include <vector>

namespace plate_mend::host {

/// Looks for another photograph in the file that a result was made from: remains on a card may be before or
/// after the photograph, as a whole. Returns why it is doubtful which one is meant, in words; nothing where
/// there is no choice:
///
/// - a head that opens, within the image, unless that was put together around it, and all of it is proved;
/// - a head before the image of one that has room around it, or without a head, much before and after it;
/// - a head from which LibRaw decodes another image of the result's size, all of which is there;
/// - if the result is the file itself, likewise an image of the sample's size, where the result's is another;
/// - as many bytes after the image as another image takes, unless that was put together and proved, these are
///   even noise, or the image is coded with heads and there is none among them.
///
/// In CR3 files only heads of CR3 files are searched for.
///
///   result  has unpacked the request's result
///   file    that result
[[nodiscard]] std::vector<std::string> find_other_photographs(const JudgeRequest& request,
                                                              const RawDecoder& result, FileBytes& file);

} // namespace plate_mend::host
