#include "report/Html.h"

#include "files/Sha256.h"
#include "report/Card.h"
#include "report/HtmlPage.h"
#include "text/Paths.h"

#include <algorithm>
#include <utility>

namespace plate_mend::host {

namespace {

/// No text in a page has them: escape() replaces them.
constexpr char kPicturePlace = '\x01';
constexpr const char* kContentEnd = "\x1E"; ///< The page's script knows it.

/// What this verdict means for a client.
const char* describe_meaning(Verdict verdict) {
    switch (verdict) {
    case Verdict::kWhole:
        return "RAW, without a sign of damage";
    case Verdict::kIntact:
        return "nothing to repair";
    case Verdict::kPartial:
        return "RAW, with some of the picture lost";
    case Verdict::kPreviewOnly:
        return "a JPEG from inside the file";
    case Verdict::kNotDone:
        return "run again with --resume";
    case Verdict::kNotRepaired:
        break;
    }
    return "nothing could be delivered";
}

std::string tile_html(const std::string& verdict, std::uint64_t count, const std::string& name,
                      const std::string& meaning) {
    return R"(<button type="button" disabled class="tile )" + verdict + R"(" data-verdict=")" + verdict +
           R"(" aria-pressed="false"><b>)" + std::to_string(count) + "</b><span>" + name + "</span><small>" +
           meaning + "</small></button>\n";
}

/// The verdicts side by side, each as wide as its share.
std::string bar_html(const Counts& counts) {
    constexpr std::uint64_t kLength = 1000;
    constexpr std::uint64_t kLeast = 4; // So that a single file among thousands is seen.
    std::string html =
        R"(<svg class="bar" viewBox="0 0 1000 10" preserveAspectRatio="none" aria-hidden="true">)";
    std::uint64_t before = 0;
    for (const Verdict verdict : kVerdicts) {
        if (const std::uint64_t count = counts.of(verdict); count != 0) {
            const std::uint64_t left = std::min(before * kLength / counts.total(), kLength - kLeast);
            before += count;
            const std::uint64_t end = std::max(before * kLength / counts.total(), left + kLeast);
            html += "<rect class=\"" + slug_of(verdict) + "\" x=\"" + std::to_string(left) + "\" width=\"" +
                    std::to_string(end - left) + R"(" height="10"/>)";
        }
    }
    return html + "</svg>\n";
}

std::string counts_html(const Counts& counts) {
    std::string html = "<span class=\"counts\">";
    for (const Verdict verdict : kVerdicts) {
        if (counts.of(verdict) != 0) {
            html += "<span class=\"" + slug_of(verdict) + "\">" + std::to_string(counts.of(verdict)) + ' ' +
                    describe(verdict) + "</span> ";
        }
    }
    return html + "</span>";
}

/// What a page may load or run: its own style and script, by their sums, and pictures in it or beside it. So
/// whatever texts a page contains, none of them is run, and nothing is fetched from a network.
std::string policy() {
    const auto source_of = [](const std::string& text) {
        Sha256 sum;
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
        sum.add(reinterpret_cast<const unsigned char*>(text.data()), text.size());
        const std::string digits = sum.hexadecimal();
        std::string bytes;
        for (std::size_t index = 0; index < digits.size(); index += 2) {
            bytes += static_cast<char>(std::stoi(digits.substr(index, 2), nullptr, 16));
        }
        return "'sha256-" + base64(bytes) + "'";
    };
    return "default-src 'none'; base-uri 'none'; form-action 'none'; img-src 'self' file: data:; style-src " +
           source_of(kHtmlStyle) + "; script-src " + source_of(kHtmlScript);
}

std::string head_html() {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"" +
           policy() +
           "\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<title>Recovered photographs</title>\n<style>" +
           kHtmlStyle + "</style>\n</head>\n";
}

} // namespace

HtmlReport::HtmlReport(OutputFile file, SheetPictures pictures, std::string made, Use use)
    : file_(std::move(file)), pictures_(std::move(pictures)), made_(std::move(made)), use_(use),
      links_(use == Use::kPrinted ? std::filesystem::current_path() : folder_of(file_.path())),
      pictures_address_(percent_encoded(utf8_from(pictures_folder_of(file_.path()).filename())) + "/"),
      spool_(Spool(pictures_->private_folder() / "entries")) {}

void HtmlReport::add(const Record& record) {
    Entry entry;
    CardPictures pictures;
    if (!record.picture.empty()) {
        entry.picture = pictures_->add(record.picture);
        pictures.picture = kPicturePlace;
        embedded_size_ += base64_size(record.picture.size());
    }
    if (!record.sample_picture.empty()) {
        pictures.sample = pictures_->add(record.sample_picture);
        if (samples_.insert(pictures.sample).second) {
            embedded_size_ += base64_size(record.sample_picture.size());
        }
    }
    const Card card = card_of(record, counts_.total(), links_, pictures);
    entry.tag = spool_->add(card.tag);
    entry.content = spool_->add(card.content);
    counts_.add(record.verdict);
    Group& group = groups_[folder_name(record.damaged.path)];
    group.counts.add(record.verdict);
    group.entries.push_back(std::move(entry));
}

std::string HtmlReport::header(bool interrupted) const {
    const std::uint64_t total = counts_.total();
    std::string html = "<header>\n<h1>Recovered photographs</h1>\n<p class=\"lead\">" +
                       std::to_string(total) + (total == 1 ? " file: " : " files: ") + describe(counts_) +
                       "</p>\n";
    if (interrupted) {
        html += "<p class=\"alert\" role=\"note\">The run was interrupted. Here is what was done until "
                "then.</p>\n";
    }
    html += bar_html(counts_) + "<div class=\"tiles\" role=\"group\" aria-label=\"Show\">\n" +
            tile_html("", total, "all files", "that were given");
    for (const Verdict verdict : kVerdicts) {
        const bool rare = verdict == Verdict::kIntact || verdict == Verdict::kNotDone;
        if (!rare || counts_.of(verdict) != 0) {
            html += tile_html(slug_of(verdict), counts_.of(verdict), describe(verdict),
                              describe_meaning(verdict));
        }
    }
    return html + "</div>\n</header>\n";
}

std::string HtmlReport::address_of(const std::string& picture) const {
    return embeds() ? "data:image/jpeg;base64," + base64(pictures_->read(picture))
                    : pictures_address_ + picture;
}

void HtmlReport::write_group(const std::string& folder, const Group& group) {
    const std::string name = escape(folder);
    write(R"(<details class="folder" open data-folder=")" + name + "\">\n<summary><h2>" + name + "</h2>" +
          counts_html(group.counts) + R"(<output class="part"></output></summary>)" +
          "\n<ul class=\"sheet\">\n");
    for (const Entry& entry : group.entries) {
        write(spool_->read(entry.tag) + (is_in_full() ? '\n' + content_of(entry) : "") + "</li>\n");
    }
    write("</ul>\n</details>\n");
}

std::string HtmlReport::content_of(const Entry& entry) const {
    std::string content = spool_->read(entry.content);
    if (const std::size_t place = content.find(kPicturePlace); place != std::string::npos) {
        content.replace(place, 1, address_of(entry.picture));
    }
    return content;
}

/// As one text, in the order of the list items. To a browser that is no markup until its script takes it
/// apart.
void HtmlReport::write_contents() {
    if (is_in_full()) {
        return;
    }
    write("<noscript>This page shows the pictures of so many files with its script alone.</noscript>\n"
          "<script type=\"text/plain\" id=\"contents\">");
    for (const auto& [folder, group] : groups_) {
        for (const Entry& entry : group.entries) {
            write(content_of(entry) + kContentEnd);
        }
    }
    write("</script>\n");
}

void HtmlReport::write_page(bool interrupted) {
    write(head_html() + "<body data-pictures=\"" + (embeds() ? "" : pictures_address_) + "\">\n" +
          header(interrupted) + kHtmlTools);
    for (const auto& [folder, group] : groups_) {
        write_group(folder, group);
    }
    write("</main>\n<footer>In a repaired RAW photograph the image data are those of the damaged file; "
          "where nothing else is said, all else, its date too, is the sample's. " +
          escape(made_) + "</footer>\n");
    write_contents();
    write_samples();
    write(std::string(kHtmlViewer) + "<script>" + kHtmlScript + "</script>\n</body>\n</html>\n");
}

/// Samples show the same pictures for many files, so these are in the page once.
void HtmlReport::write_samples() {
    for (const std::string& sample : embeds() ? samples_ : std::set<std::string>()) {
        write(R"(<img hidden loading="lazy" alt="" id=")" + sample + "\" src=\"" + address_of(sample) +
              "\">\n");
    }
}

void HtmlReport::close(bool interrupted) {
    write_page(interrupted);
    if (embeds()) {
        pictures_->remove_old();
    } else {
        pictures_->publish();
    }
    try {
        file_.publish();
    } catch (...) {
        pictures_->take_back();
        throw;
    }
    spool_.reset();
    pictures_.reset();
}

} // namespace plate_mend::host
