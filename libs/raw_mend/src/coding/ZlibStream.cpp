#include "coding/ZlibStream.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <new>

namespace raw_mend {

namespace {

constexpr std::size_t kInput = std::size_t{1} << 20U; ///< At a time.
constexpr std::size_t kOutput = 16384;

/// A z_stream that is ended with one of zlib's functions.
class ZlibState {
  public:
    ZlibState(int result, z_stream& stream, int (*end)(z_stream*)) : stream_(stream), end_(end) {
        if (result != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ZlibState(const ZlibState&) = delete;
    ZlibState& operator=(const ZlibState&) = delete;
    ~ZlibState() { end_(&stream_); }

  private:
    z_stream& stream_;
    int (*end_)(z_stream*);
};

} // namespace

bool may_be_zlib(Bytes bytes) {
    constexpr unsigned kDictionary = 0x20;
    return bytes.size() > 2 && (bytes[0] & 0x8FU) == 8 && (bytes[1] & kDictionary) == 0 &&
           (bytes[0] * 256U + bytes[1]) % 31 == 0;
}

ZlibCheck check_zlib_stream(Bytes bytes, std::uint64_t offset, std::uint64_t most) {
    z_stream stream{};
    const ZlibState state(inflateInit(&stream), stream, inflateEnd);
    std::array<unsigned char, kOutput> output;
    Bytes rest = bytes.subspan(static_cast<std::size_t>(offset));
    ZlibCheck check;
    int result = Z_OK;
    while (result == Z_OK && check.inflated <= most && !rest.empty()) {
        const std::size_t given = std::min(rest.size(), kInput);
        stream.next_in = const_cast<unsigned char*>(rest.data()); // Only read.
        stream.avail_in = static_cast<uInt>(given);
        stream.next_out = output.data();
        stream.avail_out = static_cast<uInt>(output.size());
        result = inflate(&stream, Z_NO_FLUSH);
        const std::size_t taken = given - stream.avail_in;
        check.bytes_read += taken;
        check.inflated += output.size() - stream.avail_out;
        rest = rest.subspan(taken);
    }
    if (result == Z_MEM_ERROR) {
        throw std::bad_alloc();
    }
    if (result == Z_STREAM_END && check.inflated <= most) {
        check.length = check.bytes_read;
    }
    return check;
}

std::vector<unsigned char> make_zlib_zeros(std::uint64_t length) {
    z_stream stream{};
    const ZlibState state(deflateInit(&stream, Z_DEFAULT_COMPRESSION), stream, deflateEnd);
    std::array<unsigned char, kOutput> zeros{};
    std::array<unsigned char, kOutput> output;
    std::vector<unsigned char> made;
    int result = Z_OK;
    while (result != Z_STREAM_END) {
        if (stream.avail_in == 0) {
            stream.next_in = zeros.data();
            stream.avail_in = static_cast<uInt>(std::min<std::uint64_t>(length, zeros.size()));
            length -= stream.avail_in;
        }
        stream.next_out = output.data();
        stream.avail_out = static_cast<uInt>(output.size());
        result = deflate(&stream, length == 0 ? Z_FINISH : Z_NO_FLUSH);
        made.insert(made.end(), output.begin(), output.end() - stream.avail_out);
    }
    return made;
}

} // namespace raw_mend
