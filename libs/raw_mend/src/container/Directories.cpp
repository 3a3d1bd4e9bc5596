#include "container/Directories.h"

#include "container/TiffTree.h"

#include <utility>

namespace raw_mend {

std::vector<TiffDirectory> list_directories(Bytes file) {
    std::vector<TiffDirectory> directories;
    if (const auto header = read_tiff_header(file, 0)) {
        Inventory inventory(file);
        for (TiffNode& node : read_tiff_tree(TiffReader(inventory, header->order, 0), *header)) {
            directories.push_back(std::move(node.directory));
        }
    }
    return directories;
}

} // namespace raw_mend
