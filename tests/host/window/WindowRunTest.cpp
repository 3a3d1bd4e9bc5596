#include "host/window/WindowFixture.h"

#include "cli/OpenCommand.h"
#include "record/RunRecord.h"
#include "support/DngPhoto.h"
#include "window/FolderSearch.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <thread>

// What the window does: recognition, runs, pictures, reports, and its end.

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

class WindowRun : public WindowFixture {
  protected:
    WindowRun() {
        put("card/IMG_1.arw", damaged);
        put("card/IMG_2.arw", truncated_);
        put("card/IMG_3.arw", lost_);
    }

    /// Begins a run over 53 photographs, and returns when some of them are done.
    void begin_long_run() {
        for (int number = 10; number < 60; ++number) {
            put("card/IMG_" + std::to_string(number) + ".arw", damaged);
        }
        open_and_enter();
        choose_all();
        ASSERT_EQ(post("/start").status, 200);
        state_when([](const Json& now) { return now.member("run").required_integer<int>("done") >= 2; });
    }

    /// Runs to the end.
    Json run_all() {
        EXPECT_EQ(post("/start").status, 200);
        return state_when([](const Json& now) {
            return now.text("activity") == "none" && now.member("run").truth("ended");
        });
    }

    static std::vector<std::string> texts(const std::vector<Json>& files, const char* member) {
        std::vector<std::string> found;
        found.reserve(files.size());
        for (const Json& file : files) {
            found.push_back(file.text(member));
        }
        return found;
    }

    [[nodiscard]] std::vector<std::string> command(bool resume = true) const {
        std::vector<std::string> arguments{"repair", in("card"),   "--samples", in("good"),
                                           "--out",  in("mended"), "--json",    "-"};
        if (resume) {
            arguments.emplace_back("--resume");
        }
        return arguments;
    }

    [[nodiscard]] static std::size_t count_in(const Json& state, const std::string& slug) {
        for (const Json& one : state.member("verdicts").elements()) {
            if (one.text("slug") == slug) {
                return one.required_integer<std::size_t>("count");
            }
        }
        return 0;
    }
};

TEST_F(WindowRun, ShowsWhatWasRecognisedAndWritesNothing) {
    open_and_enter();
    choose_all();
    const auto before = names();
    const Json now = state_at_rest();
    const Json known = now.member("recognised");
    EXPECT_TRUE(known.truth("complete")) << now.line();
    EXPECT_EQ(now.required_integer<int>("files"), 3);
    EXPECT_EQ(known.member("kinds").line(), R"([{"name":"ARW","count":3}])");
    EXPECT_EQ(known.member("cameras").line(), R"([{"name":"","count":1},{"name":"DSLR-A330","count":2}])");
    EXPECT_EQ(known.member("sample_cameras").line(), R"([{"name":"DSLR-A330","count":1}])");
    EXPECT_EQ(known.member("fits").line(), R"([{"name":"good.arw","count":3}])");
    EXPECT_THAT(texts(files(), "slug"), ElementsAre("waiting", "waiting", "waiting"));
    EXPECT_THAT(files()[0].text("line"), StartsWith("sample good.arw (same camera (DSLR-A330)"));
    EXPECT_EQ(names(), before);
    EXPECT_FALSE(fs::exists(folder / "mended"));
}

TEST_F(WindowRun, ShowsTheRoomThatARunNeedsAsTheCommandDoes) {
    open_and_enter();
    choose_all();
    const Json room = state_at_rest().member("recognised").member("room");
    ASSERT_EQ(room.elements().size(), 1U);
    EXPECT_FALSE(room.elements()[0].truth("too_little"));
    const std::string text = room.elements()[0].text("text");
    EXPECT_THAT(text, AllOf(StartsWith("About "), HasSubstr(" free")));
    std::vector<std::string> arguments = command(false);
    arguments.emplace_back("--dry-run");
    EXPECT_EQ(run(arguments), 0) << err;
    EXPECT_THAT(out, HasSubstr('\n' + text.substr(0, text.find(';')))) << "what is free may change";
}

TEST_F(WindowRun, FileAtThePlaceOfAResultStaysAndAnotherFolderHelps) {
    put("mended/IMG_1.arw", {1});
    open_and_enter();
    choose_all();
    EXPECT_EQ(state_at_rest().member("recognised").required_integer<int>("not_done"), 1);
    EXPECT_THAT(texts(files(), "word"), ElementsAre("would not be done", "waiting", "waiting"));
    EXPECT_THAT(files()[0].text("line"), HasSubstr("exists already"));
    EXPECT_EQ(count_in(run_all(), "not-done"), 1U);
    EXPECT_EQ(bytes_of("mended/IMG_1.arw"), Bytes{1});
    ASSERT_EQ(choose("out", folder / "other").status, 200);
    EXPECT_EQ(state_at_rest().member("recognised").required_integer<int>("not_done"), 0);
    EXPECT_EQ(count_in(run_all(), "whole"), 1U);
}

TEST_F(WindowRun, ResultsDoNotGoWhereThePhotographsAre) {
    open_and_enter();
    choose_all();
    ASSERT_EQ(choose("out", folder / "card").status, 200);
    EXPECT_NE(state_at_rest().text("problem"), "");
    ASSERT_EQ(post("/start").status, 200);
    EXPECT_NE(state_at_rest().text("problem"), "");
    EXPECT_EQ(files_below("card").size(), 3U);
}

TEST_F(WindowRun, ProposesAFolderForResultsBesideTheDamagedFiles) {
    open_and_enter();
    ASSERT_EQ(choose("damaged", folder / "card").status, 200);
    EXPECT_EQ(state().member("folders").member("out").text("text"), in("card repaired"));
    ASSERT_EQ(choose("out", folder / "mine").status, 200);
    ASSERT_EQ(choose("damaged", folder / "card" / "day 1").status, 200);
    EXPECT_EQ(state().member("folders").member("out").text("text"), in("mine"))
        << "the user's own choice stays";
}

TEST_F(WindowRun, BeginsWithAFolder) {
    WindowSettings given = settings();
    given.damaged = folder / "card";
    open(given);
    enter();
    EXPECT_EQ(state().member("folders").member("damaged").text("text"), in("card"));
}

TEST_F(WindowRun, DoesWhatTheCommandDoesWithTheSameWords) {
    open_and_enter();
    choose_all();
    const Json end = run_all();
    EXPECT_FALSE(end.member("run").truth("stopped"));
    EXPECT_EQ(end.text("problem"), "");
    EXPECT_EQ(count_in(end, "whole"), 1U);
    EXPECT_EQ(count_in(end, "partial"), 1U);
    EXPECT_EQ(count_in(end, "not-repaired"), 1U);
    EXPECT_THAT(texts(files(), "word"), ElementsAre("whole", "partly there", "lost"));
    EXPECT_THAT(texts(files("?show=partial"), "name"), ElementsAre("IMG_2.arw"));
    EXPECT_EQ(end.member("run").member("summary").elements().front().text(),
              "3 files: 1 whole, 1 partly there, 1 lost");
    const auto made = files_below("mended");
    // The command makes the same of the same files.
    EXPECT_EQ(run({"repair", in("card"), "--samples", in("good"), "--out", in("other"), "--json", "-"}), 2);
    EXPECT_EQ(files_below("other"), made);
    EXPECT_TRUE(bytes_of("other/IMG_1.arw") == bytes_of("mended/IMG_1.arw"));
    EXPECT_TRUE(bytes_of("other/IMG_2.arw") == bytes_of("mended/IMG_2.arw"));
    EXPECT_EQ(read_file(folder / "card" / "IMG_1.arw"), damaged) << "it was only read";
}

TEST_F(WindowRun, IsResumedOnTheCommandLine) {
    open_and_enter();
    choose_all();
    run_all();
    EXPECT_EQ(run(command()), 2) << err;
    EXPECT_THAT(out, AllOf(HasSubstr("IMG_3.arw"), Not(HasSubstr("IMG_1.arw")), Not(HasSubstr("IMG_2.arw"))))
        << "only what was lost is tried again";
}

TEST_F(WindowRun, GoesOnWithARunOfTheCommandLine) {
    fs::create_directories(folder / "good");
    write_file(folder / "good" / "good.arw", sample.bytes);
    EXPECT_EQ(run(command(false)), 2) << err;
    open_and_enter();
    choose_all();
    const Json known = state_at_rest();
    EXPECT_EQ(known.member("recognised").required_integer<int>("finished"), 2);
    EXPECT_THAT(texts(files(), "word"), ElementsAre("done already", "done already", "waiting"));
    const Bytes records = bytes_of("mended/.plate-mend/run/records.jsonl");
    const Json end = run_all();
    EXPECT_EQ(count_in(end, "whole"), 1U);
    EXPECT_EQ(count_in(end, "partial"), 1U);
    EXPECT_EQ(bytes_of("mended/.plate-mend/run/records.jsonl"), records) << "nothing was done again";
}

TEST_F(WindowRun, StopsAndGoesOn) {
    begin_long_run();
    EXPECT_EQ(post("/choose", R"({"what":"damaged","path":"/"})").status,
              fs::path("/").is_absolute() ? 409 : 400);
    EXPECT_EQ(post("/start").status, 409) << "a run is under way";
    EXPECT_EQ(post("/sheet").status, 409);
    EXPECT_EQ(post("/stop").status, 200);
    const Json stopped = state_at_rest();
    const int done = stopped.member("run").required_integer<int>("done");
    EXPECT_TRUE(stopped.member("run").truth("stopped")) << done << " of 53";
    EXPECT_LT(done, 53);
    EXPECT_EQ(stopped.text("problem"), "");
    EXPECT_THAT(texts(files("?show=working"), "name"), IsEmpty());
    const Json end = run_all();
    EXPECT_FALSE(end.member("run").truth("stopped"));
    EXPECT_EQ(end.member("run").required_integer<int>("done"), 53);
    EXPECT_EQ(count_in(end, "whole"), 51U) << end.line() << get("/files").body;
}

TEST_F(WindowRun, StopOfARunLeavesOthersAlone) {
    open_and_enter();
    choose_all();
    ASSERT_EQ(post("/start").status, 200);
    ASSERT_EQ(post("/stop").status, 200);
    state_at_rest();
    EXPECT_EQ(run({"repair", in("card"), "--samples", in("good"), "--out", in("other")}), 2)
        << "the program has not been asked to end" << err;
}

TEST_F(WindowRun, ShowsPicturesThatThisProgramMade) {
    open_and_enter();
    choose_all();
    EXPECT_EQ(get("/picture?id=0&of=result").status, 404) << "there was no run";
    run_all();
    for (const char* of : {"result", "sample", "preview"}) {
        const Reply reply = get(std::string("/picture?id=1&of=") + of);
        EXPECT_EQ(reply.status, 200) << of;
        EXPECT_TRUE(reply.has("Content-Type: image/jpeg")) << reply.head;
        EXPECT_THAT(reply.body, StartsWith("\xFF\xD8\xFF")) << of;
    }
    EXPECT_EQ(get("/picture?id=2&of=result").status, 404) << "it is lost";
    EXPECT_EQ(get("/picture?id=2&of=preview").status, 404);
    EXPECT_EQ(get("/picture?id=3&of=result").status, 404);
    EXPECT_EQ(get("/picture?id=1&of=other").status, 404);
    EXPECT_EQ(get("/picture?of=result").status, 404);
    const Json file = Json::parse(get("/file?id=1").body);
    EXPECT_TRUE(file.truth("picture"));
    EXPECT_TRUE(file.truth("sample_picture"));
    EXPECT_EQ(file.text("share_text"), "75.0 % of the rows without damage");
    EXPECT_FALSE(file.member("findings").elements().empty());
}

TEST_F(WindowRun, HostilePreviewIsEncodedAnew) {
    // A JPEG with markup in a comment, as a browser that guesses would take for a page.
    const std::string markup = "<html><script>alert(1)</script>";
    Bytes comment{0xFF, 0xFE, 0, static_cast<unsigned char>(markup.size() + 2)};
    comment.insert(comment.end(), markup.begin(), markup.end());
    const Bytes soi{0xFF, 0xD8};
    Bytes hostile = damaged;
    for (std::size_t at = 0; at + 3 < hostile.size(); ++at) {
        if (hostile[at] == 0xFF && hostile[at + 1] == 0xD8 && hostile[at + 2] == 0xFF) {
            hostile =
                joined(joined(part(hostile, 0, at + 2), comment), part(hostile, at + 2, hostile.size()));
            break;
        }
    }
    ASSERT_GT(hostile.size(), damaged.size()) << "there is a preview";
    put("card/IMG_1.arw", hostile);
    open_and_enter();
    choose_all();
    run_all();
    for (const char* of : {"result", "sample", "preview"}) {
        EXPECT_THAT(get(std::string("/picture?id=0&of=") + of).body, Not(HasSubstr("<script"))) << of;
    }
}

TEST_F(WindowRun, ShowsAreasThatAreNotThePhotographsOwn) {
    const DngPhoto::Options options{
        .number = 2, .width = 640, .height = 480, .tile_width = 128, .tile_height = 96};
    const DngPhoto photo(options);
    const std::size_t lost = photo.tile_offsets[7];
    for (int number = 1; number <= 3; ++number) {
        fs::remove(folder / "card" / ("IMG_" + std::to_string(number) + ".arw"));
    }
    put("card/IMG_1.dng",
        zeroed(zeroed(photo.bytes, 0, photo.tile_offsets[0]), lost, lost + photo.tile_byte_counts[7]));
    DngPhoto::Options other = options;
    other.number = 1;
    put("good/good.dng", DngPhoto(other).bytes);
    open_and_enter();
    choose_all();
    fs::remove(folder / "good" / "good.arw");
    run_all();
    const Json areas = Json::parse(get("/file?id=0").body).member("areas");
    EXPECT_EQ(areas.line(), R"({"width":640,"height":480,"lost":[[256,96,128,96]],"doubtful":[]})");
}

TEST_F(WindowRun, SavesTheContactSheetAndReplacesOnlyItsOwn) {
    open_and_enter();
    choose_all();
    EXPECT_EQ(post("/sheet").status, 409) << "there was no run";
    run_all();
    const Bytes mine{'m', 'i', 'n', 'e'};
    put("mended/contact-sheet.html", mine);
    ASSERT_EQ(post("/sheet").status, 200);
    EXPECT_THAT(state_at_rest().text("problem"), HasSubstr("contact-sheet.html"));
    EXPECT_EQ(bytes_of("mended/contact-sheet.html"), mine);
    fs::remove(folder / "mended" / "contact-sheet.html");
    for (int time = 0; time < 2; ++time) { // The second one replaces the first.
        ASSERT_EQ(post("/sheet").status, 200);
        const Json saved = state_at_rest();
        EXPECT_EQ(saved.text("problem"), "");
        EXPECT_EQ(saved.member("sheet").text("text"), in(fs::path("mended") / "contact-sheet.html"));
    }
    const Bytes page = bytes_of("mended/contact-sheet.html");
    EXPECT_THAT(std::string(page.begin(), page.end()),
                AllOf(HasSubstr("IMG_1.arw"), HasSubstr("IMG_2.arw"), HasSubstr("IMG_3.arw"),
                      HasSubstr("data:image/jpeg;base64,")));
    // The command may replace it too: the run has one record.
    std::vector<std::string> arguments = command();
    arguments.insert(arguments.end(), {"--report", in(fs::path("mended") / "contact-sheet.html")});
    EXPECT_EQ(run(arguments), 2) << err;
}

TEST_F(WindowRun, ShowsTheFolderOfResultsAndNothingElse) {
    open_and_enter();
    choose_all();
    EXPECT_EQ(post("/open", R"({"what":"results"})").status, 409) << "it is not there yet";
    run_all();
    EXPECT_EQ(post("/open", R"({"what":"results"})").status, 200);
    EXPECT_EQ(post("/open", R"({"what":"sheet"})").status, 409) << "none was saved";
    EXPECT_EQ(post("/open", R"({"what":"damaged"})").status, 409);
    EXPECT_EQ(post("/open", R"({"what":"/"})").status, 409);
    EXPECT_THAT(opened_, ElementsAre(folder / "mended"));
}

TEST_F(WindowRun, HostileNamesStayTexts) {
    put("card/'quote'.arw", damaged);
    put(u8"card/ä&amp;ö.arw", damaged);
    open_and_enter();
    choose_all();
    const Json now = state_at_rest();
    EXPECT_EQ(now.required_integer<int>("files"), 5);
    EXPECT_THAT(texts(files(), "name"),
                UnorderedElementsAre("'quote'.arw", "IMG_1.arw", "IMG_2.arw", "IMG_3.arw", "ä&amp;ö.arw"));
}

TEST_F(WindowRun, ChoicesThatMakeNoSenseAreRefused) {
    open_and_enter();
    EXPECT_EQ(choose("damaged", folder / "missing").status, 409);
    EXPECT_EQ(choose("samples", folder / "missing").status, 409);
    EXPECT_EQ(choose("out", folder / "good.arw").status, 409) << "a file";
    EXPECT_EQ(choose("other", folder / "card").status, 400);
    for (const char* body : {"{", "[]", "7", R"({"what":1})", R"({"what":"damaged","path":"card"})",
                             R"({"what":"damaged","path":7})", R"({"what":"damaged"})"}) {
        EXPECT_EQ(post("/choose", body).status, 400) << body;
    }
    EXPECT_EQ(post("/start").status, 409) << "nothing was chosen";
    EXPECT_EQ(state().member("folders").line(), R"({"damaged":null,"samples":null,"out":null})");
}

TEST_F(WindowRun, ProblemsAreShownInTheWordsOfTheCommand) {
    fs::create_directories(folder / "empty");
    open_and_enter();
    choose_all();
    state_at_rest();
    ASSERT_EQ(choose("damaged", folder / "empty").status, 200);
    EXPECT_EQ(state_at_rest().text("problem"), "no damaged photograph was found");
    ASSERT_EQ(choose("damaged", folder / "card").status, 200);
    EXPECT_EQ(state_at_rest().text("problem"), "");
    const RunRecord other(folder / "mended", "run");
    ASSERT_EQ(post("/start").status, 200);
    EXPECT_THAT(state_at_rest().text("problem"), HasSubstr("--task")) << "another run works there";
}

TEST_F(WindowRun, FilesComeInParts) {
    for (int number = 100; number < 400; ++number) {
        put("card/IMG_" + std::to_string(number) + ".arw", lost_);
    }
    open_and_enter();
    choose_all();
    state_when([](const Json& now) { return now.required_integer<int>("files") == 303; });
    EXPECT_EQ(files().size(), 200U) << "at most";
    EXPECT_EQ(files("?from=300&count=100").size(), 3U);
    EXPECT_EQ(files("?from=301&count=1")[0].required_integer<int>("id"), 301);
    EXPECT_THAT(files("?from=1000"), IsEmpty());
    EXPECT_THAT(files("?show=whole"), IsEmpty());
    EXPECT_EQ(files("?from=x&count=-1").size(), 200U);
}

TEST_F(WindowRun, EndOfTheWindowStopsTheRunAndCanBeResumed) {
    begin_long_run();
    ASSERT_EQ(post("/quit").status, 200);
    EXPECT_EQ(window_->wait(), WindowServer::End::kOver);
    window_.reset();
    for (const auto& entry : fs::directory_iterator(folder / "mended" / ".plate-mend" / "run")) {
        EXPECT_THAT(utf8(entry.path().filename()), Not(StartsWith(".plate-mend-")))
            << "a working folder is left";
    }
    EXPECT_EQ(run(command()), 2) << err;
    EXPECT_EQ(files_below("mended").size(), 53U);
}

TEST_F(WindowRun, HourWithoutAPageBeginsWhenTheRunHasEnded) {
    std::atomic<std::chrono::minutes::rep> minutes = 0;
    std::atomic<bool> is_running = false;
    std::promise<void> work_is_done;
    std::promise<void> may_end;
    WindowSettings given = settings();
    // The run's own thread asks for the time when its work is done. It waits for us there.
    given.clock = [&, test = std::this_thread::get_id()] {
        if (is_running && std::this_thread::get_id() != test) {
            work_is_done.set_value();
            may_end.get_future().wait();
        }
        return std::chrono::steady_clock::time_point() + std::chrono::minutes(minutes);
    };
    put("good/good.arw", sample.bytes);
    Window window(given, "token");
    for (const auto& [what, name] :
         {std::pair("damaged", "card"), std::pair("samples", "good"), std::pair("out", "mended")}) {
        const Json wish = Json::object({{"what", what}, {"path", escaped_name(utf8_from(folder / name))}});
        ASSERT_EQ(window.answer({"POST", "/choose", {}, {}, wish.line()}).status, 200);
    }
    Json now = Json::object({{"activity", "recognising"}, {"version", 0}});
    while (now.text("activity") != "none") {
        const std::string version = std::to_string(now.required_integer<std::uint64_t>("version"));
        now = Json::parse(window.answer({"GET", "/state", {{"after", version}}, {}, ""}).content);
    }
    is_running = true;
    ASSERT_EQ(window.answer({"POST", "/start", {}, {}, ""}).status, 200);
    const bool is_done =
        work_is_done.get_future().wait_for(std::chrono::minutes(2)) == std::future_status::ready;
    ASSERT_TRUE(is_done) << "nobody asks for the time when a run ends";
    minutes = 1000;
    EXPECT_FALSE(window.is_over()) << "a run is under way";
    may_end.set_value();
    window.end();
    minutes = 1059;
    EXPECT_FALSE(window.is_over()) << "it ended 59 minutes ago";
    minutes = 1060;
    EXPECT_TRUE(window.is_over());
}

TEST_F(WindowRun, EndsAfterAnHourWithoutAPage) {
    std::atomic<std::chrono::minutes::rep> minutes = 0;
    WindowSettings given = settings();
    given.clock = [&] { return std::chrono::steady_clock::time_point() + std::chrono::minutes(minutes); };
    open(given);
    enter();
    Window window(given, "token");
    EXPECT_FALSE(window.is_over());
    minutes = 59;
    EXPECT_FALSE(window.is_over());
    static_cast<void>(window.answer({"GET", "/state", {}, {}, ""}));
    minutes = 118;
    EXPECT_FALSE(window.is_over()) << "somebody was there after 59 minutes";
    minutes = 119;
    EXPECT_TRUE(window.is_over());
    // Through the server: who is refused is nobody.
    EXPECT_EQ(send("GET /state HTTP/1.1\r\nHost: " + host_ + "\r\n\r\n").status, 403);
    EXPECT_EQ(window_->wait(), WindowServer::End::kOver);
}

/// A desktop whose browser enters the page, and asks the program to end.
Desktop desktop_that_closes(std::string& address) {
    Desktop desktop;
    desktop.open_address = [&](const std::string& given) {
        address = given;
        const std::string port = given.substr(17, given.find('/', 17) - 17);
        const std::string head = " HTTP/1.1\r\nHost: 127.0.0.1:" + port + "\r\n";
        const auto ask_for = [&](const std::string& request) {
            Connection connection(static_cast<std::uint16_t>(std::stoi(port)));
            connection.send(request);
            return reply_from(connection.read_to_end());
        };
        const Reply entered = ask_for("GET " + given.substr(given.find("/?")) + head + "\r\n");
        const std::size_t begin = entered.head.find("Set-Cookie: ") + 12;
        const std::string cookie =
            "Cookie: " + entered.head.substr(begin, entered.head.find(';', begin) - begin) + "\r\n";
        const std::string page = ask_for("GET /" + head + cookie + "\r\n").body;
        const std::string token =
            page.substr(page.find("content=\"", page.find("name=\"plate-mend\"")) + 9, 64);
        EXPECT_EQ(ask_for("POST /quit" + head + cookie + "X-Plate-Mend: " + token + "\r\n\r\n").status, 200);
        return true;
    };
    return desktop;
}

TEST_F(WindowRun, OpensTheBrowserAtItsAddress) {
    std::string address;
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(run_open({in("card"), false}, program_file(), desktop_that_closes(address)), 0);
    EXPECT_THAT(::testing::internal::GetCapturedStdout(),
                HasSubstr("plate-mend is open at " + address + "\n"));
}

TEST_F(WindowRun, OpensWithoutArgumentsIfADesktopHasStartedTheProgram) {
    std::string address;
    Desktop desktop = desktop_that_closes(address);
    for (const bool is_desktop : {true, false}) {
        address.clear();
        desktop.has_started_program = [is_desktop] { return is_desktop; };
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(plate_mend::host::run({}, program_file(), desktop), is_desktop ? 0 : 64);
        EXPECT_THAT(::testing::internal::GetCapturedStdout(), HasSubstr(address));
        EXPECT_EQ(::testing::internal::GetCapturedStderr().empty(), is_desktop) << "how it is used";
        EXPECT_EQ(address.empty(), !is_desktop);
    }
    desktop.has_started_program = [] { return true; };
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(plate_mend::host::run({"--version"}, program_file(), desktop), 0);
    EXPECT_THAT(::testing::internal::GetCapturedStdout(), StartsWith("plate-mend "));
    EXPECT_EQ(address, "") << "an argument says what is wanted";
}

TEST_F(WindowRun, RefusesAFolderThatIsNotThere) {
    EXPECT_EQ(run({"open", "--no-browser", in("missing")}), 64);
    EXPECT_THAT(err, HasSubstr("no such folder"));
}

TEST_F(WindowRun, ListsFoldersThatAreNotHidden) {
    for (const char* name : {"b", "a", ".hidden", "$RECYCLE.BIN"}) {
        fs::create_directories(folder / "top" / name);
    }
    put("top/file.arw", damaged);
    open_and_enter();
    const Json listed = Json::parse(get("/folder?path=" + in("top")).body);
    EXPECT_THAT(texts(listed.member("folders").elements(), "name"), ElementsAre("a", "b"));
    EXPECT_EQ(listed.member("above").text("text"), utf8_from(folder.path()));
    EXPECT_THAT(Json::parse(get("/folder?path=" + in("missing")).body).text("problem"), Not(IsEmpty()));
}

TEST_F(WindowRun, FindsADroppedFolderByWhatIsInIt) {
    put("here/card/IMG_1.arw", damaged);
    put("there/deep/card/IMG_1.arw", damaged);
    put("there/deep/card/DCIM/IMG_2.arw", lost_);
    put(".hidden/card/IMG_1.arw", damaged);
    const DroppedFolder::File one{"IMG_1.arw", damaged.size()};
    const std::vector<fs::path> starts{folder.path()};
    EXPECT_THAT(
        find_dropped({"card", {one}}, starts),
        UnorderedElementsAre(folder / "card", folder / "here" / "card", folder / "there" / "deep" / "card"));
    EXPECT_THAT(find_dropped({"card", {one, {"DCIM/IMG_2.arw", lost_.size()}}}, starts),
                ElementsAre(folder / "there" / "deep" / "card"));
    EXPECT_THAT(find_dropped({"card", {{"IMG_1.arw", damaged.size() + 1}}}, starts), IsEmpty())
        << "another size";
    EXPECT_THAT(find_dropped({"car", {one}}, starts), IsEmpty());
    EXPECT_THAT(find_dropped({"card", {}}, starts), IsEmpty()) << "a name alone proves nothing";
    EXPECT_THAT(find_dropped({"deep", {{"../../good.arw", sample.bytes.size()}}}, starts), IsEmpty());
    EXPECT_THAT(find_dropped({"card", {one}}, starts, {.depth = 1}), ElementsAre(folder / "card"));
}

} // namespace
} // namespace test
