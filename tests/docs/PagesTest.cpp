#include "docs/Page.h"
#include "docs/Shell.h"
#include "support/ArwPhoto.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

// What a page says is true: its links lead somewhere, and each block of code is one of these kinds.
//
//   ```console            "$ " begins a command, which is run here in a folder of damaged photographs (see
//                         make_photographs); the lines after it are its output, where "..." matches any
//                         text
//   ```text from PROGRAM  the output of a program of the build
//   ```LANGUAGE from FILE lines of a file that is built and run elsewhere, without their common indentation
//   ```sh                 commands for the reader's own machine: "./dev VERB", or a line of not_run.txt with
//                         the reason why no test runs it
//   ```mermaid            a picture, which is not checked
//
// There are no indented code blocks. A table after "<!-- rows of PAGE -->" has only rows of a table of that
// page.

namespace test {
namespace {

namespace fs = std::filesystem;

const fs::path& root() {
    static const fs::path path = PLATE_MEND_SOURCE_DIR;
    return path;
}

const fs::path& bin() {
    static const fs::path path = PLATE_MEND_BIN_DIR;
    return path;
}

std::string joined_lines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + '\n';
    }
    return text;
}

/// The lines of not_run.txt: command, and the reason after " # ".
std::map<std::string, std::string> commands_not_run() {
    std::map<std::string, std::string> commands;
    for (const std::string& line : read_lines(root() / "tests/docs/not_run.txt")) {
        const std::size_t mark = line.find(" # ");
        if (mark == std::string::npos) {
            throw std::runtime_error("not_run.txt: no reason in: " + line);
        }
        commands[line.substr(0, mark)] = line.substr(mark + 3);
    }
    return commands;
}

/// The verbs in the usage of ./dev.
std::set<std::string> dev_verbs() {
    std::set<std::string> verbs;
    static const std::regex row("  ([a-z-]+).*");
    bool in_usage = false;
    for (const std::string& line : read_lines(root() / "dev")) {
        std::smatch match;
        if (line == "usage: ./dev VERB") {
            in_usage = true;
        } else if (in_usage && std::regex_match(line, match, row)) {
            verbs.insert(match[1]);
        } else {
            in_usage = false;
        }
    }
    return verbs;
}

/// A folder as a photographer has it: IMG_0007 is intact, the heads of the others are gone. In IMG_0042 and
/// IMG_0043 everything that a repair needs survives; IMG_0044 has lost the entries that lead to its image.
/// The folder "good" holds a copy of the first, "broken" copies of the others.
void make_photographs(const fs::path& folder) {
    const auto photo = [](unsigned number) {
        return ArwPhoto(ArwPhoto::Options{.number = number, .width = 640, .height = 480});
    };
    const auto write = [&folder](const char* other_folder, const std::string& name, const Bytes& bytes) {
        fs::create_directories(folder / other_folder);
        write_file(folder / name, bytes);
        write_file(folder / other_folder / name, bytes);
    };
    write("good", "IMG_0007.ARW", photo(7).bytes);
    for (const unsigned number : {42U, 43U}) {
        const ArwPhoto original = photo(number);
        write("broken", "IMG_00" + std::to_string(number) + ".ARW",
              zeroed(original.bytes, 0, original.strip_entries));
    }
    const ArwPhoto lost = photo(44);
    write("broken", "IMG_0044.ARW", zeroed(lost.bytes, 0, lost.preview_offsets.front()));
}

void expect_console(const Block& block, const fs::path& folder) {
    constexpr std::string_view kPrompt = "$ ";
    for (std::size_t index = 0; index < block.lines.size();) {
        ASSERT_EQ(block.lines[index].substr(0, 2), kPrompt) << "a console block begins with a command";
        const std::string command = block.lines[index++].substr(2);
        std::vector<std::string> expected;
        while (index < block.lines.size() && block.lines[index].substr(0, 2) != kPrompt) {
            expected.push_back(block.lines[index++]);
        }
        const auto written = run_in_shell(command, folder, bin());
        EXPECT_TRUE(matches(written, expected)) << "$ " << command << '\n' << joined_lines(written);
    }
}

void expect_lines_of(const fs::path& file, const Block& block) {
    const auto lines = read_lines(root() / file);
    const auto indent = [](const std::string& line) {
        return line.empty() ? std::string::npos : line.find_first_not_of(' ');
    };
    for (std::size_t first = 0; first + block.lines.size() <= lines.size(); ++first) {
        std::vector<std::string> part(lines.begin() + static_cast<std::ptrdiff_t>(first),
                                      lines.begin() +
                                          static_cast<std::ptrdiff_t>(first + block.lines.size()));
        std::size_t common = std::string::npos;
        for (const std::string& line : part) {
            common = std::min(common, indent(line));
        }
        for (std::string& line : part) {
            line = line.substr(std::min(common, line.size()));
        }
        if (part == block.lines) {
            return;
        }
    }
    ADD_FAILURE() << "these lines are not in " << file;
}

void expect_known_commands(const Block& block) {
    static const auto not_run = commands_not_run();
    static const auto verbs = dev_verbs();
    static const std::regex dev("\\./dev ([a-z-]+).*");
    ASSERT_FALSE(verbs.empty());
    for (const std::string& line : block.lines) {
        const std::string command = line.substr(0, line.find_last_not_of(' ', line.find(" # ")) + 1);
        std::smatch match;
        if (std::regex_match(command, match, dev)) {
            EXPECT_EQ(verbs.count(match[1]), 1U) << "no verb of ./dev: " << command;
        } else if (!command.empty()) {
            EXPECT_EQ(not_run.count(command), 1U) << "neither run nor in not_run.txt: " << command;
        }
    }
}

void expect_link(const Page& page, const std::string& target) {
    if (target.find("://") != std::string::npos) {
        return;
    }
    const std::size_t hash = target.find('#');
    const std::string path = target.substr(0, hash);
    const fs::path file = path.empty() ? page.file : page.file.parent_path() / path;
    ASSERT_TRUE(fs::exists(file)) << target;
    if (hash != std::string::npos) {
        const auto anchors = Page(file).anchors;
        EXPECT_NE(std::find(anchors.begin(), anchors.end(), target.substr(hash + 1)), anchors.end())
            << target;
    }
}

class Pages : public ::testing::TestWithParam<fs::path> {
  protected:
    Page page{root() / GetParam()};
};

TEST_P(Pages, LinksLeadSomewhere) {
    for (const Reference& link : page.links) {
        SCOPED_TRACE(page.file.string() + ':' + std::to_string(link.line));
        expect_link(page, link.target);
    }
}

TEST_P(Pages, NamesOnlyFilesThatExist) {
    static const std::regex path(
        "(apps|bench|cmake|docs|examples|fuzz|include|libs|src|tests)(/[A-Za-z0-9_.-]+)+/?");
    for (const Reference& code : page.codes) {
        if (std::regex_match(code.target, path)) {
            EXPECT_TRUE(fs::exists(root() / code.target))
                << page.file << ':' << code.line << ": " << code.target;
        }
    }
}

TEST_P(Pages, PartsOfTablesAreRowsOfThem) {
    for (const Table& table : page.tables) {
        if (!table.rows_of.empty()) {
            const Page whole(page.file.parent_path() / table.rows_of);
            EXPECT_EQ(rows_not_in(table, whole), std::vector<std::string>{})
                << page.file << ':' << table.line << ", and " << whole.file;
            EXPECT_GE(table.rows.size(), 3U) << page.file << ':' << table.line;
        }
    }
}

TEST_P(Pages, BlocksAreTrue) {
    const TempDir folder;
    const auto is_console = [](const Block& block) { return block.language == "console"; };
    if (std::any_of(page.blocks.begin(), page.blocks.end(), is_console)) {
        make_photographs(folder.path());
    }
    EXPECT_TRUE(page.indented.empty())
        << page.file << ':' << page.indented.front() << ": a block by indentation";
    for (const Block& block : page.blocks) {
        SCOPED_TRACE(page.file.string() + ':' + std::to_string(block.line));
        const bool from = block.argument.rfind("from ", 0) == 0;
        if (block.language == "console") {
            expect_console(block, folder.path());
        } else if (block.language == "mermaid") {
            continue;
        } else if (block.language == "sh") {
            expect_known_commands(block);
        } else if (block.language == "text" && from) {
            EXPECT_EQ(joined_lines(run_in_shell(block.argument.substr(5), folder.path(), bin())),
                      joined_lines(block.lines));
        } else if (from) {
            expect_lines_of(block.argument.substr(5), block);
        } else {
            ADD_FAILURE() << "a block of an unknown kind: " << block.language << ' ' << block.argument;
        }
    }
}

std::vector<fs::path> page_names() {
    std::vector<fs::path> names;
    for (const fs::path& page : all_pages(root())) {
        names.push_back(fs::relative(page, root()));
    }
    return names;
}

INSTANTIATE_TEST_SUITE_P(Of, Pages, ::testing::ValuesIn(page_names()), [](const auto& page) {
    std::string name = page.param.string();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
});

TEST(NotRun, HasOnlyCommandsOfPages) {
    std::set<std::string> given;
    for (const fs::path& file : all_pages(root())) {
        for (const Block& block : Page(file).blocks) {
            given.insert(block.lines.begin(), block.lines.end());
        }
    }
    for (const auto& [command, reason] : commands_not_run()) {
        EXPECT_EQ(given.count(command), 1U) << command;
    }
}

TEST(Matching, ThreeDotsStandForAnyText) {
    EXPECT_TRUE(matches({"one", "two"}, {"one", "two"}));
    EXPECT_TRUE(matches({"one 12 two"}, {"one ... two"}));
    EXPECT_TRUE(matches({"a", "b", "c"}, {"a", "...", "c"}));
    EXPECT_TRUE(matches({"a", "c"}, {"a", "...", "c"}));
    EXPECT_FALSE(matches({"one", "three"}, {"one", "two"}));
    EXPECT_FALSE(matches({"one 12 two."}, {"one ... two"}));
    EXPECT_FALSE(matches({"a", "b"}, {"a"}));
    EXPECT_FALSE(matches({"a"}, {"a", "b"}));
}

TEST(MeasurementPages, EachHasATableAndIsLinked) {
    const fs::path folder = root() / "docs/measurements";
    const Page index(root() / "docs/README.md");
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = "measurements/" + entry.path().filename().string();
        EXPECT_EQ(Page(entry.path()).tables.size(), 1U) << name;
        EXPECT_TRUE(std::any_of(index.links.begin(), index.links.end(),
                                [&name](const Reference& link) { return link.target == name; }))
            << name << ": docs/README.md does not list it";
    }
}

/// The tables that a program of the build prints with --rows, which have only the first cell of each row.
std::vector<Table> rows_of_program(const std::string& program) {
    const TempDir folder;
    const auto lines = run_in_shell(program + " --rows", folder.path(), bin());
    std::ofstream page(folder / "page.md");
    page << joined_lines(lines);
    page.close();
    return Page(folder / "page.md").tables;
}

/// Each row of the page's table begins as the table of the program has it.
void expect_rows(const char* page, const Table& expected) {
    const Table table = Page(root() / "docs/measurements" / page).tables.at(0);
    ASSERT_EQ(table.rows.size(), expected.rows.size()) << page << ": make it anew";
    for (std::size_t index = 0; index < table.rows.size(); ++index) {
        EXPECT_EQ(table.rows[index].rfind(expected.rows[index], 0), 0U)
            << page << " has " << table.rows[index] << ", and should have " << expected.rows[index];
    }
}

TEST(MeasurementPages, HaveARowForEachDamageThatIsMeasured) {
    const auto verdicts = rows_of_program("host_walk");
    ASSERT_EQ(verdicts.size(), 1U);
    expect_rows("verdicts.md", verdicts[0]);
    const auto laboratory = rows_of_program("verdict_laboratory");
    ASSERT_EQ(laboratory.size(), 1U);
    expect_rows("verdict-laboratory.md", laboratory[0]);
    const auto salvage = rows_of_program(PLATE_MEND_LABORATORY);
    ASSERT_EQ(salvage.size(), 2U);
    expect_rows("salvage-alone.md", salvage[0]);
    expect_rows("salvage-sibling.md", salvage[0]);
    expect_rows("salvage-containers.md", salvage[1]);
    const auto raw = rows_of_program(PLATE_MEND_RAW_LABORATORY);
    ASSERT_EQ(raw.size(), 1U);
    expect_rows("raw-pairs.md", raw[0]);
}

TEST(MeasurementPages, TwoShowAPartOfALongTable) {
    for (const char* name : {"docs/host.md", "docs/salvage.md"}) {
        const Page page(root() / name);
        EXPECT_EQ(std::count_if(page.tables.begin(), page.tables.end(),
                                [](const Table& table) { return !table.rows_of.empty(); }),
                  1)
            << name;
    }
}

TEST(PageReader, FindsTablesAndWhatTheyAreAPartOf) {
    const TempDir folder;
    const auto page = [&folder](const std::string& text) {
        write_file(folder / "page.md", Bytes(text.begin(), text.end()));
        return Page(folder / "page.md");
    };
    const Page whole = page("| A |\n|---|\n| 1 |\n| 2 |\n\n| B |\n|---|\n");
    ASSERT_EQ(whole.tables.size(), 2U);
    EXPECT_EQ(whole.tables[0].line, 1U);
    EXPECT_EQ(whole.tables[0].rows, (std::vector<std::string>{"| A |", "|---|", "| 1 |", "| 2 |"}));
    EXPECT_EQ(whole.tables[0].rows_of, "");
    EXPECT_EQ(whole.tables[1].line, 6U);
    const Page part = page("Text.\n\n<!-- rows of whole.md -->\n| A |\n|---|\n| 2 |\n| 3 |\n");
    ASSERT_EQ(part.tables.size(), 1U);
    EXPECT_EQ(part.tables[0].rows_of, "whole.md");
    EXPECT_EQ(rows_not_in(part.tables[0], whole), std::vector<std::string>{"| 3 |"});
}

TEST(PageReader, ParsesAPage) {
    const TempDir folder;
    const std::string text = "# A title, twice\n"
                             "See [there](there.md#place), `src/api` and `[no](link)`.\n"
                             "## A title, twice\n"
                             "\n"
                             "```sh more words\n"
                             "line\n"
                             "```\n"
                             "\n"
                             "    indented\n"
                             "\n"
                             "- item\n"
                             "\n"
                             "    of the item\n";
    write_file(folder / "page.md", Bytes(text.begin(), text.end()));
    const Page page(folder / "page.md");
    EXPECT_EQ(page.anchors, (std::vector<std::string>{"a-title-twice", "a-title-twice-1"}));
    ASSERT_EQ(page.links.size(), 1U);
    EXPECT_EQ(page.links[0].target, "there.md#place");
    ASSERT_EQ(page.codes.size(), 2U);
    EXPECT_EQ(page.codes[0].target, "src/api");
    ASSERT_EQ(page.blocks.size(), 1U);
    EXPECT_EQ(page.blocks[0].line, 5U);
    EXPECT_EQ(page.blocks[0].language, "sh");
    EXPECT_EQ(page.blocks[0].argument, "more words");
    EXPECT_EQ(page.blocks[0].lines, std::vector<std::string>{"line"});
    EXPECT_EQ(page.indented, std::vector<std::size_t>{9});
}

} // namespace
} // namespace test
