#include "cli/Completion.h"
#include "cli/ManPage.h"
#include "cli/ParserTree.h"

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace plate_mend::host {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class Manual : public ::testing::Test {
  protected:
    Manual() {
        app.set_version_flag("--version", "mend 1.0");
        app.footer("Example:\n  mend repair --sample a.arw b.arw\n.dot at a line's begin, back\\slash");
        auto* repair = app.add_subcommand("repair", "Join two: [it's] so");
        repair->add_option("-s,--sample", sample, "A whole 'photograph'")->required();
        repair->add_option("--colour", colour, "When")->check(CLI::IsMember({"always", "never"}));
        repair->add_flag("--force", force, "Replace a file");
        repair->add_flag("--secret", force, "Nobody's")->group("");
        repair->add_option("DAMAGED", files, "The damaged photograph")->required();
        auto* shells = app.add_subcommand("completion", "Write a completion");
        shells->add_option("SHELL", shell, "Shell")->check(CLI::IsMember({"bash", "zsh"}));
        app.add_subcommand("worker", "Inner")->group("");
    }

    /// Runs a command in which $FILE is a file with that text; nothing if a program that it uses is missing.
    std::optional<std::string> run(const std::string& program, const std::string& command,
                                   const std::string& text) {
        if (std::system((program + " --version >/dev/null 2>&1").c_str()) != 0) {
            return std::nullopt;
        }
        test::write_file(folder / "file", {text.begin(), text.end()});
        const std::string line = "FILE='" + test::utf8(folder / "file") + "'; { " + command + " ; } >'" +
                                 test::utf8(folder / "out") + "' 2>&1";
        test::write_file(folder / "run", {line.begin(), line.end()});
        EXPECT_EQ(std::system(("bash '" + test::utf8(folder / "run") + "'").c_str()), 0);
        const test::Bytes out = test::read_file(folder / "out");
        return std::string(out.begin(), out.end());
    }

    /// What bash offers for the last of the words.
    std::optional<std::string> offered(const std::string& words, std::size_t count) {
        return run("bash",
                   "cd '" + test::utf8(folder.path()) + "' && . \"$FILE\" && COMP_WORDS=(" + words +
                       ") COMP_CWORD=" + std::to_string(count - 1) +
                       " && _mend_it && printf '%s ' \"${COMPREPLY[@]}\"",
                   completion(command_tree_of(app), Shell::kBash));
    }

    test::TempDir folder;
    CLI::App app{"Mends - or so", "mend-it"};
    std::string sample;
    std::string colour;
    std::string shell;
    std::vector<std::string> files;
    bool force = false;
};

// NOLINTBEGIN(bugprone-macro-parentheses): the argument is a name.
/// What the program wrote; skips the test where there is no such program.
#define RUN_OR_SKIP(variable, call)                                                                          \
    const auto variable##_optional = (call);                                                                 \
    if (!variable##_optional) {                                                                              \
        GTEST_SKIP() << "needs a program that is not here";                                                  \
    }                                                                                                        \
    const std::string& variable = *variable##_optional
// NOLINTEND(bugprone-macro-parentheses)

TEST_F(Manual, PageDescribesEveryCommandAndOption) {
    const std::string page = man_page(command_tree_of(app));
    for (const char* told : {R"(.TH "MEND\-IT" "1" "" "mend 1.0")", R"(mend\-it \- Mends \- or so)",
                             ".SS repair", R"(\fB\-s\fR, \fB\-\-sample\fR \fITEXT\fR)", "always|never",
                             "(required)", "\\fIDAMAGED\\fR ...", "\n\\&.dot", "back\\eslash", "bash, zsh"}) {
        EXPECT_THAT(page, HasSubstr(told));
    }
    EXPECT_THAT(page, AllOf(Not(HasSubstr("secret")), Not(HasSubstr("worker"))));
}

TEST_F(Manual, PageIsCleanForRoff) {
    RUN_OR_SKIP(complaints,
                run("groff", "groff -ww -man -Tutf8 \"$FILE\" >/dev/null", man_page(command_tree_of(app))));
    EXPECT_EQ(complaints, "");
    RUN_OR_SKIP(shown, run("groff", "groff -man -Tascii -P-cbou \"$FILE\"", man_page(command_tree_of(app))));
    EXPECT_THAT(shown, HasSubstr("\n       .dot at a line's begin, back\\slash\n"));
    EXPECT_THAT(shown, HasSubstr("--sample TEXT"));
}

TEST_F(Manual, ScriptsAreCleanForTheirShells) {
    RUN_OR_SKIP(bash, run("bash", "bash -n \"$FILE\"", completion(command_tree_of(app), Shell::kBash)));
    EXPECT_EQ(bash, "");
    for (const auto& [shell_name, kind] : {std::pair{"zsh", Shell::kZsh}, {"fish", Shell::kFish}}) {
        const std::string command = std::string(shell_name) + " -n \"$FILE\"";
        EXPECT_EQ(run(shell_name, command, completion(command_tree_of(app), kind)).value_or(""), "");
    }
}

TEST_F(Manual, BashOffersCommandsAndOptions) {
    RUN_OR_SKIP(commands, offered("mend-it ''", 2));
    EXPECT_EQ(commands, "repair completion -h --help --version ");
    EXPECT_EQ(offered("mend-it re", 2), "repair ");
    EXPECT_EQ(offered("mend-it repair --", 3), "--help --sample --colour --force ");
    EXPECT_EQ(offered("mend-it repair --colour ''", 4), "always never ");
    EXPECT_EQ(offered("mend-it completion b", 3), "bash ");
    EXPECT_EQ(offered("mend-it unheard x", 3), " ");
}

TEST_F(Manual, BashOffersFilesForValuesAndArguments) {
    test::write_file(folder / "IMG 1.arw", {1});
    RUN_OR_SKIP(sample_file, offered("mend-it repair --sample IM", 4));
    EXPECT_EQ(sample_file, "IMG 1.arw ");
    EXPECT_EQ(offered("mend-it repair IM", 3), "IMG 1.arw ");
    EXPECT_EQ(offered("mend-it repair -s a.arw IM", 5), "IMG 1.arw ");
    EXPECT_EQ(offered("mend-it repair --force IM", 4), "IMG 1.arw ");
}

TEST_F(Manual, FishOffersWhatTheTreeHas) {
    RUN_OR_SKIP(commands, run("fish", "fish -c \"source $FILE; complete -C 'mend-it re'\"",
                              completion(command_tree_of(app), Shell::kFish)));
    EXPECT_THAT(commands, HasSubstr("repair\tJoin two: [it's] so"));
    EXPECT_THAT(run("fish", "fish -c \"source $FILE; complete -C 'mend-it repair --colour '\"",
                    completion(command_tree_of(app), Shell::kFish))
                    .value(),
                HasSubstr("always"));
}

TEST_F(Manual, ShellsHaveNames) {
    EXPECT_EQ(shell_from_name("bash"), Shell::kBash);
    EXPECT_EQ(shell_from_name("zsh"), Shell::kZsh);
    EXPECT_EQ(shell_from_name("fish"), Shell::kFish);
    EXPECT_EQ(shell_from_name("sh"), std::nullopt);
}

} // namespace
} // namespace plate_mend::host
