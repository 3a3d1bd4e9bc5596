#include "host/VerdictDamages.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace test {
namespace {

using RandomNumbers = VerdictDamage::Random;
using Change = std::function<void(unsigned char& byte, RandomNumbers& random)>;

constexpr std::size_t kCardSector = 512;
constexpr std::size_t kKibi = 1024;

std::size_t random_below(std::size_t end, RandomNumbers& random) {
    return end == 0 ? 0 : random() % end;
}

std::size_t fitting(std::size_t count, const Shot& shot) {
    return std::min(count, shot.image_size() / 4 / kCardSector * kCardSector);
}

/// A place inside the image for so many bytes: past its first twentieth, and at a sector if that is possible.
std::size_t place_for(std::size_t count, const Shot& shot, RandomNumbers& random) {
    const std::size_t first = shot.image_begin + shot.image_size() / 20;
    const std::size_t at = first + random_below(shot.image_end - count - first, random);
    return std::max(first, at / kCardSector * kCardSector);
}

Bytes before(const Bytes& front, const Bytes& bytes) {
    return joined(front, bytes);
}

Bytes beheaded(const Shot& shot, std::size_t count) {
    return zeroed(shot.bytes, 0, std::min(count, shot.image_begin));
}

VerdictDamage of(const std::string& name,
                 const std::function<Bytes(const DamageSource&, RandomNumbers&)>& apply) {
    return {name, apply};
}

/// Bytes of another run take the place of some inside the image.
VerdictDamage
replaced(const std::string& name, std::size_t count,
         const std::function<Bytes(const Shot&, std::size_t at, std::size_t count, RandomNumbers&)>& by) {
    return of(name, [=](const DamageSource& source, RandomNumbers& random) {
        const std::size_t some = fitting(count, source.original);
        const std::size_t at = place_for(some, source.original, random);
        return with(source.original.bytes, at, by(source.original, at, some, random));
    });
}

VerdictDamage changed(const std::string& name, std::size_t count, const Change& change) {
    return replaced(name, count,
                    [change](const Shot& shot, std::size_t at, std::size_t some, RandomNumbers& random) {
                        Bytes bytes = part(shot.bytes, at, at + some);
                        for (unsigned char& byte : bytes) {
                            change(byte, random);
                        }
                        return bytes;
                    });
}

VerdictDamage flipped(const std::string& name, std::size_t count) {
    return of(name, [count](const DamageSource& source, RandomNumbers& random) {
        Bytes bytes = source.original.bytes;
        for (std::size_t nth = 0; nth < count; ++nth) {
            const std::size_t at =
                source.original.image_begin + random_below(source.original.image_size(), random);
            bytes[at] = static_cast<unsigned char>(bytes[at] ^ (1U << random_below(8, random)));
        }
        return bytes;
    });
}

/// The image goes on with another's from a share of it on. A shift is in bytes.
VerdictDamage tail_of_other(const std::string& name, double from, std::size_t shift) {
    return of(name, [=](const DamageSource& source, RandomNumbers&) {
        const auto skipped =
            static_cast<std::size_t>(from * static_cast<double>(source.original.image_size()));
        const std::size_t at = (source.original.image_begin + skipped) / kCardSector * kCardSector;
        const std::size_t in_other = source.other.image_begin + (at - source.original.image_begin) + shift;
        const std::size_t end = std::max(in_other, source.other.image_end);
        Bytes bytes = joined(part(source.original.bytes, 0, at), part(source.other.bytes, in_other, end));
        bytes.resize(std::max(bytes.size(), source.original.bytes.size()));
        return bytes;
    });
}

/// Bytes of the other's image at the same places of the image.
void put_from_other(Bytes& bytes, const DamageSource& source, std::size_t at, std::size_t count) {
    const std::size_t in_other = source.other.image_begin + (at - source.original.image_begin);
    const std::size_t end = std::min(in_other + count, source.other.image_end);
    if (in_other < end) {
        put_bytes(bytes, at, part(source.other.bytes, in_other, end));
    }
}

void add_fronts(std::vector<VerdictDamage>& all) {
    all.push_back(
        of("none", [](const DamageSource& source, RandomNumbers&) { return source.original.bytes; }));
    all.push_back(of("head zeroed, 4 KiB", [](const DamageSource& source, RandomNumbers&) {
        return beheaded(source.original, 4 * kKibi);
    }));
    all.push_back(of("head zeroed up to the image", [](const DamageSource& source, RandomNumbers&) {
        return beheaded(source.original, source.original.image_begin);
    }));
    all.push_back(of("displaced by 1000", [](const DamageSource& source, RandomNumbers& random) {
        return before(noise(1000, static_cast<std::uint32_t>(random())), source.original.bytes);
    }));
    all.push_back(of("head of another photograph", [](const DamageSource& source, RandomNumbers&) {
        const std::size_t count = std::min(source.original.image_begin, source.other.image_begin);
        return with(source.original.bytes, 0, part(source.other.bytes, 0, count));
    }));
    all.back().ambiguous = true; // Its preview shows another photograph.
    all.push_back(of("another photograph before it", [](const DamageSource& source, RandomNumbers&) {
        return before(source.other.bytes, source.original.bytes);
    }));
    all.back().ambiguous = true;
    all.push_back(
        of("another photograph before it, head zeroed", [](const DamageSource& source, RandomNumbers&) {
            return before(source.other.bytes, beheaded(source.original, source.original.image_begin));
        }));
    all.back().ambiguous = true;
    all.push_back(
        of("photograph of another camera before it", [](const DamageSource& source, RandomNumbers&) {
            return before(source.foreign, source.original.bytes);
        }));
    all.push_back(of("half of another photograph before it", [](const DamageSource& source, RandomNumbers&) {
        return before(part(source.other.bytes, 0, source.other.bytes.size() / 2 / kCardSector * kCardSector),
                      source.original.bytes);
    }));
}

void add_ends(std::vector<VerdictDamage>& all) {
    all.push_back(of("another photograph after it", [](const DamageSource& source, RandomNumbers&) {
        return joined(source.original.bytes, source.other.bytes);
    }));
    all.back().ambiguous = true;
    for (const std::size_t count : {std::size_t{300}, 100 * kKibi}) {
        all.push_back(of("random bytes after it, " + std::to_string(count),
                         [count](const DamageSource& source, RandomNumbers& random) {
                             return joined(source.original.bytes,
                                           noise(count, static_cast<std::uint32_t>(random())));
                         }));
    }
    all.push_back(of("last byte lost", [](const DamageSource& source, RandomNumbers&) {
        return part(source.original.bytes, 0, source.original.bytes.size() - 1);
    }));
    all.push_back(of("cut", [](const DamageSource& source, RandomNumbers& random) {
        const Shot& shot = source.original;
        return part(shot.bytes, 0,
                    shot.image_begin + shot.image_size() * (30 + random_below(60, random)) / 100);
    }));
}

void add_others(std::vector<VerdictDamage>& all) {
    for (const unsigned percent : {2U, 60U, 70U}) {
        all.push_back(tail_of_other("tail of another photograph, from " + std::to_string(percent) + " %",
                                    percent / 100.0, 0));
    }
    all.push_back(tail_of_other("tail of another photograph, out of phase", 0.7, 3 * kCardSector + 2));
    all.push_back(
        of("64 KiB of another photograph, in phase", [](const DamageSource& source, RandomNumbers& random) {
            Bytes bytes = source.original.bytes;
            const std::size_t count = fitting(64 * kKibi, source.original);
            put_from_other(bytes, source, place_for(count, source.original, random), count);
            return bytes;
        }));
    all.push_back(
        of("20 sectors of another photograph", [](const DamageSource& source, RandomNumbers& random) {
            Bytes bytes = source.original.bytes;
            for (int nth = 0; nth < 20; ++nth) {
                put_from_other(bytes, source, place_for(kCardSector, source.original, random), kCardSector);
            }
            return bytes;
        }));
    all.push_back(of("next file of the card", [](const DamageSource& source, RandomNumbers& random) {
        const Shot& shot = source.original;
        const std::size_t at = place_for(kCardSector, shot, random);
        Bytes bytes = joined(part(shot.bytes, 0, at), source.other.bytes);
        bytes.resize(std::max(shot.bytes.size(), at));
        return bytes;
    }));
}

void add_overwritten(std::vector<VerdictDamage>& all) {
    const auto filler = [](unsigned char value) {
        return [value](unsigned char& byte, RandomNumbers&) { byte = value; };
    };
    const auto exclusive_or = [](unsigned char bits) {
        return
            [bits](unsigned char& byte, RandomNumbers&) { byte = static_cast<unsigned char>(byte ^ bits); };
    };
    const Change random_byte = [](unsigned char& byte, RandomNumbers& random) {
        byte = static_cast<unsigned char>(random());
    };
    all.push_back(changed("64 bytes of FF", 64, filler(0xFF)));
    all.push_back(changed("512 bytes of FF", kCardSector, filler(0xFF)));
    all.push_back(changed("512 bytes of 00", kCardSector, filler(0)));
    all.push_back(changed("4 KiB of 00", 4 * kKibi, filler(0)));
    all.push_back(changed("32 KiB of 00", 32 * kKibi, filler(0)));
    all.push_back(changed("512 random bytes", kCardSector, random_byte));
    all.push_back(changed("4 KiB of random bytes", 4 * kKibi, random_byte));
    all.push_back(changed("32 KiB of random bytes", 32 * kKibi, random_byte));
    all.push_back(changed("4 KiB inverted", 4 * kKibi, exclusive_or(0xFF)));
    all.push_back(changed("32 KiB xor 01", 32 * kKibi, exclusive_or(0x01)));
    for (const std::size_t kib : {16U, 64U}) {
        all.push_back(changed(
            "a bit stuck over " + std::to_string(kib) + " KiB", kib * kKibi,
            [](unsigned char& byte, RandomNumbers&) { byte = static_cast<unsigned char>(byte | 0x20U); }));
    }
    all.push_back(replaced("4 KiB repeated", 4 * kKibi,
                           [](const Shot& shot, std::size_t at, std::size_t count, RandomNumbers&) {
                               return part(shot.bytes, at - count, at);
                           }));
    all.push_back(replaced("neighbours swapped, 4 KiB", 8 * kKibi,
                           [](const Shot& shot, std::size_t at, std::size_t count, RandomNumbers&) {
                               return joined(part(shot.bytes, at + count / 2, at + count / 2 * 2),
                                             part(shot.bytes, at, at + count / 2));
                           }));
    all.push_back(replaced("byte pairs swapped, 16 KiB", 16 * kKibi,
                           [](const Shot& shot, std::size_t at, std::size_t count, RandomNumbers&) {
                               Bytes bytes = part(shot.bytes, at, at + count);
                               for (std::size_t nth = 0; nth + 1 < count; nth += 2) {
                                   std::swap(bytes[nth], bytes[nth + 1]);
                               }
                               return bytes;
                           }));
    all.push_back(
        of("16 of every 512 bytes encrypted", [](const DamageSource& source, RandomNumbers& random) {
            Bytes bytes = source.original.bytes;
            for (std::size_t at = source.original.image_begin; at + 16 < source.original.image_end;
                 at += kCardSector) {
                put_bytes(bytes, at, noise(16, static_cast<std::uint32_t>(random())));
            }
            return bytes;
        }));
    all.push_back(of("encrypted from 60 % on", [](const DamageSource& source, RandomNumbers& random) {
        const std::size_t at = source.original.image_begin + source.original.image_size() * 3 / 5;
        const std::size_t count = source.original.image_end - at;
        return with(source.original.bytes, at, noise(count, static_cast<std::uint32_t>(random())));
    }));
}

void add_flips(std::vector<VerdictDamage>& all) {
    for (const std::size_t count : {1U, 8U, 64U, 8192U}) {
        all.push_back(flipped(std::to_string(count) + (count == 1 ? " bit" : " bits") + " flipped", count));
    }
}

void add_lost(std::vector<VerdictDamage>& all) {
    for (const std::size_t count : {std::size_t{1}, kCardSector, 4 * kKibi}) {
        const std::string name = std::to_string(count) + (count == 1 ? " byte" : " bytes");
        all.push_back(of(name + " lost", [count](const DamageSource& source, RandomNumbers& random) {
            const std::size_t at = place_for(fitting(count, source.original), source.original, random);
            return joined(part(source.original.bytes, 0, at),
                          part(source.original.bytes, at + count, source.original.bytes.size()));
        }));
        all.push_back(of(name + " put in", [count](const DamageSource& source, RandomNumbers& random) {
            const std::size_t at = place_for(fitting(count, source.original), source.original, random);
            const Bytes put_in = noise(count, static_cast<std::uint32_t>(random()));
            return joined(joined(part(source.original.bytes, 0, at), put_in),
                          part(source.original.bytes, at, source.original.bytes.size()));
        }));
    }
}

VerdictDamage of_sample(const std::string& name,
                        const std::function<Bytes(const Shot&, RandomNumbers&)>& apply,
                        bool with_sibling = false) {
    return {name,
            [](const DamageSource& source, RandomNumbers&) {
                return beheaded(source.original, source.original.image_begin);
            },
            apply, with_sibling};
}

/// Bits before the image are flipped, not in long runs of one byte, which are fillers.
Bytes flip_in_head(const Shot& sample, std::size_t count, RandomNumbers& random) {
    Bytes bytes = sample.bytes;
    for (std::size_t tries = 0; count != 0 && tries < 10000; ++tries) {
        const std::size_t at = random_below(sample.image_begin, random);
        if (at == 0 || bytes[at] != bytes[at - 1]) {
            bytes[at] = static_cast<unsigned char>(bytes[at] ^ (1U << random_below(8, random)));
            --count;
        }
    }
    return bytes;
}

/// Entries that look like a directory's: a tag, a type from 1 to 13, a count below 65536.
std::vector<std::size_t> entries_in(const Shot& sample) {
    std::vector<std::size_t> places;
    const Bytes& bytes = sample.bytes;
    for (std::size_t at = 8; at + 12 <= std::min(sample.image_begin, bytes.size()); at += 2) {
        const bool little = bytes[at + 2] >= 1 && bytes[at + 2] <= 13 && bytes[at + 3] == 0 &&
                            bytes[at + 6] == 0 && bytes[at + 7] == 0 && bytes[at + 1] != 0;
        const bool big = bytes[at + 3] >= 1 && bytes[at + 3] <= 13 && bytes[at + 2] == 0 &&
                         bytes[at + 4] == 0 && bytes[at + 5] == 0 && bytes[at] != 0;
        if (little || big) {
            places.push_back(at);
        }
    }
    return places;
}

Bytes change_entry(const Shot& sample, std::size_t field, RandomNumbers& random) {
    Bytes bytes = sample.bytes;
    const auto places = entries_in(sample);
    if (!places.empty()) {
        put_bytes(bytes, places[random_below(places.size(), random)] + field,
                  noise(2, static_cast<std::uint32_t>(random())));
    }
    return bytes;
}

void add_samples(std::vector<VerdictDamage>& all) {
    all.push_back(of_sample("sample: a tag's value", [](const Shot& sample, RandomNumbers& random) {
        return change_entry(sample, 8, random);
    }));
    all.push_back(of_sample("sample: a tag's count", [](const Shot& sample, RandomNumbers& random) {
        return change_entry(sample, 4, random);
    }));
    all.push_back(
        of_sample("sample: 8 bits of its head flipped",
                  [](const Shot& sample, RandomNumbers& random) { return flip_in_head(sample, 8, random); }));
    all.push_back(of_sample(
        "sample: 8 bits of its head flipped, sibling intact",
        [](const Shot& sample, RandomNumbers& random) { return flip_in_head(sample, 8, random); }, true));
    all.push_back(of_sample("sample: cut at 60 %", [](const Shot& sample, RandomNumbers&) {
        return part(sample.bytes, 0, sample.image_begin + sample.image_size() * 3 / 5);
    }));
    all.push_back(
        of_sample("sample: 4 KiB of its image zeroed", [](const Shot& sample, RandomNumbers& random) {
            const std::size_t some = fitting(4 * kKibi, sample);
            return with(sample.bytes, place_for(some, sample, random), Bytes(some));
        }));
}

std::vector<VerdictDamage> make_damages() {
    std::vector<VerdictDamage> all;
    add_fronts(all);
    add_ends(all);
    add_others(all);
    add_overwritten(all);
    add_flips(all);
    add_lost(all);
    add_samples(all);
    return all;
}

} // namespace

const std::vector<VerdictDamage>& verdict_damages() {
    static const std::vector<VerdictDamage> all = make_damages();
    return all;
}

} // namespace test
