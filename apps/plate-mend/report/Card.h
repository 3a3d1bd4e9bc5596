#pragma once

#include "record/Record.h"
#include "report/Markup.h"

#include <cstdint>
#include <string>

// One file's entry in the contact sheet.

namespace plate_mend::host {

/// The verdict's name as one word, for attributes and the page's address: "preview-only".
[[nodiscard]] std::string slug_of(Verdict verdict);

/// The folder of a file, and its name in there, as bytes. The folder of a name alone is ".".
[[nodiscard]] std::string folder_name(const std::string& path);
[[nodiscard]] std::string base_name(const std::string& path);

/// Where the page finds a record's pictures.
struct CardPictures {
    std::string picture; ///< The address of the record's; empty: none. Goes into the page as it is.
    std::string sample;  ///< The name of the sample's among the page's pictures; empty: none. Likewise.
};

/// An entry as HTML: a list item in two parts. Whatever a record has in it stays text.
struct Card {
    std::string tag;     ///< With all that the page's script needs to sort and filter.
    std::string content; ///< Up to the end tag.
};

///   number  of the record in the order of work
[[nodiscard]] Card card_of(const Record& record, std::uint64_t number, const Links& links,
                           const CardPictures& pictures);

} // namespace plate_mend::host
