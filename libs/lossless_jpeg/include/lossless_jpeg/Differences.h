#pragma once

#include <lossless_jpeg/DifferenceTable.h>
#include <lossless_jpeg/Head.h>

#include <array>
#include <cstdint>
#include <vector>

namespace lossless_jpeg {

/// A bit of entropy-coded data. FF 00 is one byte, at the offset of the FF.
struct BitPlace {
    std::uint64_t byte = 0;
    unsigned bit = 0; ///< 0 for the highest.
};

/// The tables of a scan's components, which must have no subsampling, ready for decoding.
class ComponentTables {
  public:
    explicit ComponentTables(const Head& head);

    [[nodiscard]] std::size_t components() const { return table_of_.size(); }
    [[nodiscard]] const DifferenceTable& of(std::size_t component) const {
        return tables_[table_of_[component]];
    }

  private:
    std::vector<DifferenceTable> tables_; // Each once.
    std::vector<std::size_t> table_of_;
};

/// Decodes single differences from any bit on. The tables and the bytes must outlive it. A copy is a place to
/// come back to.
class DifferenceReader {
  public:
    DifferenceReader(Bytes bytes, const ComponentTables& tables, BitPlace place);

    /// The next difference, modulo 65536. False at bits that are no code, a marker or the end of the bytes;
    /// then the place is not defined.
    [[nodiscard]] bool take(std::size_t component, std::uint16_t& difference) {
        reader_.fill();
        return tables_->of(component).take(reader_, difference) && !reader_.overrun();
    }

    /// Where the next difference begins.
    [[nodiscard]] BitPlace place() const { return {reader_.byte_of_next_bit(), reader_.next_bit()}; }

    /// Whether fewer than eight bits are left before a marker or the end.
    [[nodiscard]] bool closes() { return reader_.closes(); }
    /// Where they end; closes() must hold.
    [[nodiscard]] std::uint64_t stop() const { return reader_.stop(); }

  private:
    const ComponentTables* tables_;
    jpeg_bits::BitReader reader_;
};

/// Writes differences with the tables of a scan's components.
class DifferenceWriter {
  public:
    explicit DifferenceWriter(const Head& head);

    /// Begins after these bytes, with the highest bits of the next one.
    void begin(std::vector<unsigned char> bytes, unsigned char next, unsigned bits);

    /// Writes a difference, -32767 to 32768, or, if no code is for it, the nearest that has one. Returns what
    /// was written.
    int put(std::size_t component, int difference);

    /// Fills the last byte with ones, appends EOI, and returns all bytes.
    [[nodiscard]] std::vector<unsigned char> finish();

  private:
    struct Code {
        std::uint32_t bits = 0;
        unsigned length = 0; // 0 for none.
    };
    using Codes = std::array<Code, 17>; // By category.

    static Codes make_codes(const jpeg_bits::HuffmanCodes& table);
    static int find_nearest(const Codes& codes, int difference);
    void put_bits(std::uint32_t value, unsigned count);

    std::vector<Codes> codes_; // By component.
    std::vector<unsigned char> bytes_;
    std::uint32_t byte_ = 0; // The low filled_ bits are those of the next byte.
    unsigned filled_ = 0;
};

} // namespace lossless_jpeg
