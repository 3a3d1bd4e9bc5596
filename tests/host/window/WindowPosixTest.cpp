#include "faults/Limits.h"
#include "host/window/WindowFixture.h"

#include "cli/OpenCommand.h"
#include "platform/Desktop.h"
#include "window/FolderSearch.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>

// Names that only POSIX systems have, links, signals, and what a desktop is.

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

int exit_status_of(const std::function<void()>& work) {
    const int status = status_of_child(work);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class WindowPosix : public WindowFixture {};

TEST_F(WindowPosix, AnyNameIsOneTextInTheAnswer) {
    const std::vector<std::string> hostile{"<img src=x onerror=alert(1)>.arw", "\"quote\".arw",
                                           "line\nbreak.arw", "bad\xFF\xFEutf8.arw", "\xE2\x80\xAEwra.arw"};
    for (const std::string& name : hostile) {
        put("card/" + name, damaged);
    }
    put("card/day\n\x1B[1m/a.arw", damaged);
    open_and_enter();
    choose_all();
    EXPECT_EQ(state_at_rest().required_integer<std::size_t>("files"), hostile.size() + 1);
    std::vector<std::string> shown;
    std::vector<std::string> folders;
    for (const Json& file : files()) {
        shown.push_back(file.text("name"));
        folders.push_back(file.text("folder"));
    }
    EXPECT_THAT(folders, Contains(EndsWith("/card/day??[1m")));
    fs::rename(folder / "good" / "good.arw", folder / "good" / "go\nod.arw");
    ASSERT_EQ(choose("samples", folder / "good").status, 200);
    EXPECT_EQ(state_at_rest().member("recognised").member("fits").elements().at(0).text("name"), "go?od.arw");
    EXPECT_THAT(shown, Contains("<img src=x onerror=alert(1)>.arw"));
    EXPECT_THAT(shown, Contains("\"quote\".arw"));
    EXPECT_THAT(shown, Contains("line?break.arw"));
    EXPECT_THAT(shown, Contains("bad\xEF\xBF\xBD\xEF\xBF\xBDutf8.arw"));
    EXPECT_THAT(shown, Contains("?wra.arw")) << "nothing changes the direction of writing";
}

TEST_F(WindowPosix, FolderOfAnyNameCanBeChosen) {
    const fs::path odd = folder / "bad\xFF\nname";
    fs::create_directories(odd);
    write_file(odd / "a.arw", damaged);
    open_and_enter();
    const Json listed = Json::parse(get("/folder?path=" + in("")).body);
    std::string path;
    for (const Json& one : listed.member("folders").elements()) {
        path = one.text("name").starts_with("bad") ? one.text("path") : path;
    }
    ASSERT_FALSE(path.empty());
    ASSERT_EQ(post("/choose", Json::object({{"what", "damaged"}, {"path", path}}).line()).status, 200);
    EXPECT_EQ(state().member("folders").member("damaged").text("path"), path);
    EXPECT_THAT(state().member("folders").member("damaged").text("text"), EndsWith("/bad\xEF\xBF\xBD?name"));
    ASSERT_EQ(choose("samples", folder.path()).status, 200);
    EXPECT_EQ(state_at_rest().required_integer<int>("files"), 1);
}

TEST_F(WindowPosix, SearchForADroppedFolderFollowsNoLink) {
    put("beyond/here/card/IMG_1.arw", damaged);
    fs::create_directories(folder / "start");
    fs::create_directory_symlink(folder / "beyond", folder / "start" / "link");
    const DroppedFolder dropped{"card", {{"IMG_1.arw", damaged.size()}}};
    EXPECT_THAT(find_dropped(dropped, {folder / "start"}), IsEmpty());
    EXPECT_THAT(find_dropped(dropped, {folder / "beyond"}), ElementsAre(folder / "beyond" / "here" / "card"));
}

TEST_F(WindowPosix, LinksInTheCardLeadToNothingThatIsServed) {
    put("outside/secret.txt", {'s', 'e', 'c', 'r', 'e', 't', '!'});
    fs::create_symlink(folder / "outside" / "secret.txt", folder / "card" / "link.html");
    fs::create_directory_symlink(folder / "outside", folder / "card" / "folder");
    put("card/a.arw", damaged);
    open_and_enter();
    choose_all();
    for (const char* target :
         {"/link.html", "/card/link.html", "/folder/secret.txt", "/picture?id=0&of=link.html"}) {
        const Reply reply = get(target);
        EXPECT_EQ(reply.status, 404) << target;
        EXPECT_THAT(reply.body, Not(HasSubstr("secret!")));
    }
    EXPECT_EQ(state_at_rest().required_integer<int>("files"), 1);
}

/// What a call of the system does with a new socket and an address of this machine.
int call_with(decltype(::connect)* call, const char* address, std::uint16_t port) {
    const int number = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    ::setsockopt(number, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    ::setsockopt(number, SOL_SOCKET, SO_REUSEPORT, &yes, sizeof yes);
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    ::inet_pton(AF_INET, address, &place.sin_addr);
    const int result = call(number, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0 ? 0 : errno;
    ::close(number);
    return result;
}

TEST_F(WindowPosix, IsReachedAtNoOtherAddress) {
    open();
    const std::uint16_t port = window_->server().port();
    EXPECT_EQ(call_with(::connect, "127.0.0.1", port), 0);
    EXPECT_EQ(call_with(::connect, "127.0.0.2", port), ECONNREFUSED);
}

TEST_F(WindowPosix, KeepsItsPortToItself) {
    open();
    EXPECT_EQ(call_with(::bind, "127.0.0.1", window_->server().port()), EADDRINUSE);
}

/// How many sockets of this process would be open in programs that it starts.
int sockets_for_children() {
    constexpr int kMost = 1024;
    int count = 0;
    for (int number = 0; number < kMost; ++number) {
        struct stat status {};
        const bool is_socket = ::fstat(number, &status) == 0 && S_ISSOCK(status.st_mode);
        count += is_socket && (::fcntl(number, F_GETFD) & FD_CLOEXEC) == 0 ? 1 : 0;
    }
    return count;
}

TEST_F(WindowPosix, WorkersInheritNoConnection) {
    const int before = sockets_for_children();
    int during = -1;
    HttpServer server;
    server.serve([&](const HttpRequest& /*request*/) {
        during = sockets_for_children();
        return HttpResponse{};
    });
    Connection connection(server.port());
    connection.send("GET / HTTP/1.1\r\nHost: a\r\n\r\n");
    EXPECT_EQ(reply_from(connection.read_to_end()).status, 200);
    EXPECT_EQ(during, before);
}

TEST_F(WindowPosix, TooLittleRoomIsShownAsTheCommandPrintsIt) {
    put("card/IMG_1.arw", damaged);
    open_and_enter();
    choose_all();
    fs::resize_file(folder / "good" / "good.arw", std::uintmax_t{1} << 42U); // A result may be as long.
    ASSERT_EQ(choose("samples", folder / "good").status, 200);
    const Json room = state_at_rest().member("recognised").member("room").elements().at(0);
    EXPECT_TRUE(room.truth("too_little"));
    EXPECT_THAT(room.text("text"), EndsWith(" free, which is too little"));
    EXPECT_EQ(run({"repair", "-n", "--samples", in("good"), "--out", in("mended"), in("card")}), 3);
    EXPECT_THAT(out, AllOf(HasSubstr(room.text("text").substr(0, room.text("text").find(';'))),
                           HasSubstr(" free, which is too little\n")));
}

TEST_F(WindowPosix, EndsWithASignal) {
    for (const int signal : {SIGINT, SIGTERM}) {
        EXPECT_EQ(exit_status_of([&] {
                      Desktop desktop;
                      desktop.open_address = [signal](const std::string& /*address*/) {
                          ::raise(signal);
                          return true;
                      };
                      ::_exit(run_open({}, program_file(), desktop));
                  }),
                  130);
    }
}

/// As a desktop starts programs.
void leave_terminal() {
    ::setsid();
    const int nothing = ::open("/dev/null", O_RDWR);
    for (const int stream : {0, 1, 2}) {
        ::dup2(nothing, stream);
    }
}

/// Whether a process without a terminal was started from a desktop.
int is_from_desktop(const char* display) {
    return exit_status_of([display] {
        leave_terminal();
        ::unsetenv("WAYLAND_DISPLAY");
        ::unsetenv("DISPLAY");
        if (display != nullptr) {
            ::setenv("DISPLAY", display, 1);
        }
        ::_exit(platform::is_started_from_desktop() ? 1 : 0);
    });
}

TEST_F(WindowPosix, DesktopIsADisplayWithoutATerminal) {
    EXPECT_EQ(is_from_desktop(":0"), 1);
    EXPECT_EQ(is_from_desktop(""), 0);
    EXPECT_EQ(is_from_desktop(nullptr), 0);
}

TEST_F(WindowPosix, OpensOnADesktopWithoutArguments) {
    // The browser of this desktop asks the program to end.
    fs::create_directories(folder / "bin");
    const std::string script = "#!/bin/sh\nprintf '%s' \"$1\" > '" + in("asked") + "'\nkill -INT $HOST\n";
    write_file(folder / "bin" / "xdg-open", Bytes(script.begin(), script.end()));
    fs::permissions(folder / "bin" / "xdg-open", fs::perms::owner_all);
    const std::string path = in("bin") + ":/usr/bin:/bin";
    EXPECT_EQ(exit_status_of([&] {
                  leave_terminal();
                  ::setenv("DISPLAY", ":0", 1);
                  ::setenv("PATH", path.c_str(), 1);
                  ::setenv("HOST", std::to_string(::getpid()).c_str(), 1);
                  ::_exit(plate_mend::host::run({}, program_file()));
              }),
              130);
    const Bytes asked = read_file(folder / "asked");
    EXPECT_THAT(std::string(asked.begin(), asked.end()), HasSubstr("http://127.0.0.1:"));
    EXPECT_EQ(exit_status_of([&] {
                  leave_terminal();
                  ::unsetenv("DISPLAY");
                  ::unsetenv("WAYLAND_DISPLAY");
                  ::_exit(plate_mend::host::run({}, program_file()));
              }),
              64)
        << "without a display it says how it is used";
}

TEST_F(WindowPosix, OpensWithTheDesktopsOwnProgram) {
    // A desktop that writes down what it is asked for.
    fs::create_directories(folder / "bin");
    const std::string script = "#!/bin/sh\nprintf '%s' \"$1\" > '" + in("asked.new") + "'\nmv '" +
                               in("asked.new") + "' '" + in("asked") + "'\n";
    write_file(folder / "bin" / "xdg-open", Bytes(script.begin(), script.end()));
    fs::permissions(folder / "bin" / "xdg-open", fs::perms::owner_all);
    const std::string path = in("bin") + ":/usr/bin:/bin";
    const fs::path odd = folder / "a b'; touch x $(touch y)";
    fs::create_directories(odd);
    EXPECT_EQ(exit_status_of([&] {
                  ::setenv("PATH", path.c_str(), 1);
                  ::_exit(platform::open_path(odd) ? 0 : 1);
              }),
              0);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!fs::exists(folder / "asked") && std::chrono::steady_clock::now() < end) {
    }
    const Bytes asked = read_file(folder / "asked");
    EXPECT_EQ(std::string(asked.begin(), asked.end()), utf8(odd));
    EXPECT_EQ(exit_status_of([&] {
                  ::setenv("PATH", "/nowhere", 1);
                  ::_exit(platform::open_address("http://127.0.0.1:1/") ? 1 : 0);
              }),
              0)
        << "without such a program it says so";
}

} // namespace
} // namespace test
