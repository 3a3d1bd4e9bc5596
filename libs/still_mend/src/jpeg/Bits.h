#pragma once

#include <jpeg_bits/BitReader.h>
#include <jpeg_bits/HuffmanTable.h>

namespace still_mend {

using jpeg_bits::BitReader;
using jpeg_bits::HuffmanCodes;
using jpeg_bits::HuffmanTable;
using jpeg_bits::receive_extend;
using jpeg_bits::standard_ac_codes;
using jpeg_bits::standard_dc_codes;

} // namespace still_mend
