#include "support/ImagePlace.h"

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

namespace test {

namespace {

using Runs = std::vector<ByteRun>;

/// Numbers of a file; every one that is outside it ends the search.
class Numbers {
  public:
    Numbers(const Bytes& file, ByteOrder order) : file_(file), order_(order) {}

    [[nodiscard]] std::size_t u16(std::size_t at) const { return check(at, 2), get_u16(file_, at, order_); }
    [[nodiscard]] std::size_t u32(std::size_t at) const { return check(at, 4), get_u32(file_, at, order_); }
    [[nodiscard]] std::size_t u64(std::size_t at) const {
        return u32(at) << 32U | u32(at + 4);
    } // High first.
    [[nodiscard]] bool has(std::size_t at, std::string_view text) const {
        return at + text.size() <= file_.size() &&
               std::equal(text.begin(), text.end(), file_.begin() + static_cast<std::ptrdiff_t>(at));
    }

  private:
    void check(std::size_t at, std::size_t count) const {
        if (at > file_.size() || count > file_.size() - at) {
            throw std::out_of_range("number");
        }
    }
    const Bytes& file_;
    ByteOrder order_;
};

std::size_t total(const Runs& runs) {
    std::size_t sum = 0;
    for (const ByteRun& run : runs) {
        sum += run.size;
    }
    return sum;
}

/// A directory of TIFF: its values by tag, each as a list of numbers. The base is added to offsets of values.
std::map<std::size_t, std::vector<std::size_t>> read_ifd(const Numbers& in, std::size_t base,
                                                         std::size_t at) {
    std::map<std::size_t, std::vector<std::size_t>> values;
    const std::size_t count = in.u16(at);
    for (std::size_t entry = at + 2; entry < at + 2 + 12 * count; entry += 12) {
        const std::size_t kind = in.u16(entry + 2);
        const std::size_t many = in.u32(entry + 4);
        const std::size_t size = kind == 3 ? 2 : 4;
        if ((kind != 3 && kind != 4 && kind != 13) || many > 100000) {
            continue;
        }
        const std::size_t from = many * size <= 4 ? entry + 8 : base + in.u32(entry + 8);
        for (std::size_t nth = 0; nth < many; ++nth) {
            const std::size_t place = from + nth * size;
            values[in.u16(entry)].push_back(size == 2 ? in.u16(place) : in.u32(place));
        }
    }
    values[0] = {in.u32(at + 2 + 12 * count)}; // The next directory.
    return values;
}

ByteOrder order_at(const Bytes& file, std::size_t at) {
    return at < file.size() && file[at] == 'I' ? ByteOrder::kLittle : ByteOrder::kBig;
}

/// IFDs 0, 1..., and SubIFDs: the one whose strips or tiles have the most bytes.
Runs find_in_tiff(const Bytes& file) {
    const Numbers in(file, order_at(file, 0));
    std::vector<std::size_t> todo{in.u32(4)};
    std::set<std::size_t> done{0};
    Runs best;
    while (!todo.empty()) {
        const std::size_t at = todo.back();
        todo.pop_back();
        if (!done.insert(at).second) {
            continue;
        }
        auto ifd = read_ifd(in, 0, at);
        todo.insert(todo.end(), ifd[330].begin(), ifd[330].end());
        todo.push_back(ifd[0][0]);
        for (const auto& [offsets, lengths] : {std::pair(273U, 279U), std::pair(324U, 325U)}) {
            Runs runs;
            for (std::size_t nth = 0; nth < std::min(ifd[offsets].size(), ifd[lengths].size()); ++nth) {
                runs.push_back({ifd[offsets][nth], ifd[lengths][nth]});
            }
            best = total(runs) > total(best) ? runs : best;
        }
    }
    return best;
}

/// The CFA data: what its directory says, or all of it.
Runs find_in_raf(const Bytes& file) {
    const Numbers in(file, ByteOrder::kBig);
    const std::size_t cfa = in.u32(100);
    if (!in.has(cfa, "II*") && !in.has(cfa, std::string_view("MM\0*", 4))) {
        return {{cfa, in.u32(104)}};
    }
    const Numbers inside(file, order_at(file, cfa));
    const std::size_t raw = read_ifd(inside, cfa, cfa + inside.u32(cfa + 4)).at(0xF000).at(0);
    auto ifd = read_ifd(inside, cfa, cfa + raw);
    return {{cfa + ifd.at(0xF007).at(0), ifd.at(0xF008).at(0)}};
}

/// The payload of each box of a type, directly within [begin, end).
std::vector<ByteRun> boxes(const Numbers& in, std::size_t begin, std::size_t end, std::string_view type) {
    std::vector<ByteRun> found;
    while (begin + 8 <= end) {
        std::size_t size = in.u32(begin);
        const std::size_t header = size == 1 ? 16 : 8;
        size = size == 1 ? in.u64(begin + 8) : size == 0 ? end - begin : size;
        if (size < header || size > end - begin) {
            throw std::out_of_range("box");
        }
        if (in.has(begin + 4, type)) {
            found.push_back({begin + header, size - header});
        }
        begin += size;
    }
    return found;
}

ByteRun box(const Numbers& in, const ByteRun& within, std::size_t skipped, std::string_view type) {
    return boxes(in, within.offset + skipped, within.offset + within.size, type).at(0);
}

struct Track {
    std::size_t pixels = 0; ///< Of a raw image; else 0.
    Runs samples;
};

/// Each has one chunk.
std::vector<Track> read_tracks(const Numbers& in, std::size_t size) {
    const ByteRun moov = box(in, {0, size}, 0, "moov");
    std::vector<Track> tracks;
    for (const ByteRun& trak : boxes(in, moov.offset, moov.offset + moov.size, "trak")) {
        const ByteRun stbl = box(in, box(in, box(in, trak, 0, "mdia"), 0, "minf"), 0, "stbl");
        const ByteRun stsd = box(in, stbl, 0, "stsd");
        Track track;
        for (const ByteRun& entry : boxes(in, stsd.offset + 8, stsd.offset + stsd.size, "CRAW")) {
            for (const ByteRun& cmp1 : boxes(in, entry.offset + 82, entry.offset + entry.size, "CMP1")) {
                track.pixels = in.u32(cmp1.offset + 8) * in.u32(cmp1.offset + 12);
            }
        }
        const std::size_t stsz = box(in, stbl, 0, "stsz").offset;
        const auto wide = boxes(in, stbl.offset, stbl.offset + stbl.size, "co64");
        std::size_t at =
            wide.empty() ? in.u32(box(in, stbl, 0, "stco").offset + 8) : in.u64(wide[0].offset + 8);
        for (std::size_t nth = 0; nth < in.u32(stsz + 8); ++nth) {
            const std::size_t length = in.u32(stsz + 4) != 0 ? in.u32(stsz + 4) : in.u32(stsz + 12 + 4 * nth);
            track.samples.push_back({at, length});
            at += length;
        }
        tracks.push_back(track);
    }
    return tracks;
}

/// The raw track with the most pixels; the first of several.
Runs find_in_cr3(const Bytes& file) {
    const auto tracks = read_tracks(Numbers(file, ByteOrder::kBig), file.size());
    const auto most = std::ranges::max_element(tracks, {}, &Track::pixels);
    return most == tracks.end() || most->pixels == 0 ? Runs{} : most->samples;
}

} // namespace

std::optional<std::vector<ByteRun>> find_image(const Bytes& file) {
    try {
        const Numbers in(file, ByteOrder::kBig);
        const Runs runs = in.has(0, "FUJIFILM") ? find_in_raf(file)
                          : in.has(4, "ftyp")   ? find_in_cr3(file)
                                                : find_in_tiff(file);
        return runs.empty() ? std::nullopt : std::optional(runs);
    } catch (const std::out_of_range&) {
        return std::nullopt;
    }
}

std::optional<Bytes> image_bytes(const Bytes& file) {
    const auto runs = find_image(file);
    if (!runs) {
        return std::nullopt;
    }
    Bytes all;
    for (const ByteRun& run : *runs) {
        if (run.offset > file.size() || run.size > file.size() - run.offset) {
            return std::nullopt;
        }
        const Bytes piece = part(file, run.offset, run.offset + run.size);
        all.insert(all.end(), piece.begin(), piece.end());
    }
    return all;
}

std::vector<ByteRun> find_tracks(const Bytes& file) {
    Runs runs;
    for (const Track& track : read_tracks(Numbers(file, ByteOrder::kBig), file.size())) {
        runs.push_back(track.samples.at(0));
    }
    return runs;
}

} // namespace test
