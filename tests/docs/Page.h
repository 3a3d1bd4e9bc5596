#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace test {

/// A fenced block of a page.
struct Block {
    std::size_t line = 0;           ///< Of the opening fence, from 1.
    std::string language;           ///< The first word after the fence; empty without one.
    std::string argument;           ///< The other words.
    std::vector<std::string> lines; ///< Between the fences.
};

/// A link, or a path of this project in inline code.
struct Reference {
    std::size_t line = 0;
    std::string target; ///< As written in the page.
};

/// A table of a page.
struct Table {
    std::size_t line = 0;          ///< Of its first row, from 1.
    std::vector<std::string> rows; ///< With the header and the rule below it.
    std::string rows_of;           ///< The page whose table it shows a part of; empty if it is no part.
};

/// A page in Markdown, parsed as far as its tests need it.
struct Page {
    explicit Page(const std::filesystem::path& path);

    std::filesystem::path file;
    std::vector<Block> blocks;
    std::vector<Reference> links; ///< Targets of links and of pictures.
    std::vector<Reference> codes; ///< Inline code.
    std::vector<Table> tables;
    std::vector<std::string> anchors;
    std::vector<std::size_t> indented; ///< Lines that begin a block of code by indentation.
};

/// The lines of a text file, without their ends. Throws std::runtime_error when it cannot be read.
[[nodiscard]] std::vector<std::string> read_lines(const std::filesystem::path& file);

/// The rows of a table that no table of the page has.
[[nodiscard]] std::vector<std::string> rows_not_in(const Table& table, const Page& page);

/// All pages of the project: *.md beside root's README.md and below docs.
[[nodiscard]] std::vector<std::filesystem::path> all_pages(const std::filesystem::path& root);

} // namespace test
