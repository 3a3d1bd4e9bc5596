#include "window/Window.h"

#include "files/Failures.h"
#include "platform/Desktop.h"
#include "record/Json.h"
#include "text/Paths.h"
#include "window/FolderList.h"
#include "window/FolderSearch.h"
#include "window/PageFiles.h"
#include "window/StateJson.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <system_error>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

constexpr int kBadRequest = 400;
constexpr int kNotFound = 404;
constexpr int kWrongMethod = 405;
constexpr int kConflict = 409;

/// Rows per request, of about 300 bytes.
constexpr std::size_t kMostRows = 200;

HttpResponse plain(int status, const std::string& text) {
    return {status, "text/plain; charset=utf-8", text};
}

HttpResponse json_response(const Json& json) {
    return {200, "application/json", json.line()};
}

HttpResponse done() {
    return json_response(Json::object({}));
}

std::optional<std::size_t> number_in(const HttpRequest& request, const std::string& name) {
    const std::string text = request.parameter(name);
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && !text.empty() ? std::optional(number)
                                                                                     : std::nullopt;
}

/// A path as the page sends it. It has to be absolute: this program's current folder means nothing to a user.
std::optional<fs::path> path_in(const std::string& text) {
    const std::string bytes = unescaped_name(text);
    const fs::path path = path_from(bytes);
    return path.is_absolute() && bytes.find('\0') == std::string::npos ? std::optional(path) : std::nullopt;
}

bool is_on_disk(const fs::path& path) {
    std::error_code none;
    return fs::exists(path, none);
}

bool is_folder(const fs::path& path) {
    std::error_code none;
    return fs::is_directory(path, none);
}

/// "card repaired" beside "card": or, since what is written to a failing medium may destroy what is left
/// there, in the user's own folder.
fs::path proposed_results(const fs::path& damaged) {
    const fs::path plain_path = damaged.has_filename() ? damaged : damaged.parent_path();
    const fs::path home = platform::home_folder();
    const bool stays = plain_path.has_filename() && (home.empty() || !platform::is_removable(plain_path));
    fs::path name = plain_path.has_filename() ? plain_path.filename() : fs::path("photographs");
    name += " repaired";
    return (stays ? plain_path.parent_path() : home) / name;
}

const std::array<const char*, 7> kWishes = {"/choose", "/find", "/start", "/stop",
                                            "/sheet",  "/open", "/quit"};

} // namespace

Window::Window(WindowSettings settings, std::string page_token)
    : settings_(std::move(settings)), page_token_(std::move(page_token)), previews_(settings_.program),
      seen_(settings_.clock().time_since_epoch().count()),
      work_(board_, settings_.program, [this] { seen_ = settings_.clock().time_since_epoch().count(); }) {
    if (!settings_.damaged.empty()) {
        board_.change([this](WindowState& state) {
            state.folders.damaged = settings_.damaged;
            state.folders.out = proposed_results(settings_.damaged);
        });
    }
}

bool Window::is_over() const {
    return is_quit_ ||
           (activity() == Activity::kNone && settings_.clock().time_since_epoch().count() - seen_ >=
                                                 std::chrono::steady_clock::duration(settings_.idle).count());
}

void Window::end() {
    board_.release();
    work_.end();
}

Activity Window::activity() const {
    return board_.read([](const WindowState& state, std::uint64_t /*version*/) { return state.activity; });
}

HttpResponse Window::answer(const HttpRequest& request) {
    seen_ = settings_.clock().time_since_epoch().count();
    const bool changes = std::find(kWishes.begin(), kWishes.end(), request.path) != kWishes.end();
    if (request.method != (changes ? "POST" : "GET")) {
        return plain(kWrongMethod, "This is not how to ask for that.");
    }
    try {
        return changes ? post(request) : get(request);
    } catch (const JsonError&) {
        return plain(kBadRequest, "This cannot be understood.");
    } catch (const MachineFailure& e) {
        return plain(kConflict, e.what());
    }
}

HttpResponse Window::get(const HttpRequest& request) {
    if (request.path == "/state") {
        return state(request);
    }
    if (request.path == "/files") {
        return files(request);
    }
    if (request.path == "/file") {
        return file(request);
    }
    if (request.path == "/picture") {
        return picture(request);
    }
    if (request.path == "/folder") {
        return folder(request);
    }
    return page_file(request.path == "/" ? "index.html" : request.path.substr(1));
}

HttpResponse Window::page_file(const std::string& name) const {
    const auto files = page_files();
    const auto found =
        std::find_if(files.begin(), files.end(), [&](const PageFile& one) { return one.name == name; });
    if (found == files.end()) {
        return plain(kNotFound, "There is nothing here.");
    }
    std::string content(found->content);
    if (name == "index.html") {
        constexpr std::string_view kPlace = "@TOKEN@";
        content.replace(content.find(kPlace), kPlace.size(), page_token_);
        return {200, "text/html; charset=utf-8", content};
    }
    return {200,
            name.ends_with(".css")  ? "text/css; charset=utf-8"
            : name.ends_with(".js") ? "text/javascript; charset=utf-8"
                                    : "image/svg+xml",
            content};
}

HttpResponse Window::state(const HttpRequest& request) const {
    if (const auto known = number_in(request, "after")) {
        board_.wait_beyond(*known, settings_.longest_wait);
    }
    return json_response(board_.read([&](const WindowState& state, std::uint64_t version) {
        return to_json(state, version, std::chrono::steady_clock::now());
    }));
}

HttpResponse Window::files(const HttpRequest& request) const {
    const FilesRequest wanted{number_in(request, "from").value_or(0),
                              std::min(number_in(request, "count").value_or(kMostRows), kMostRows),
                              request.parameter("show")};
    return json_response(board_.read(
        [&](const WindowState& state, std::uint64_t /*version*/) { return files_to_json(state, wanted); }));
}

HttpResponse Window::file(const HttpRequest& request) const {
    const auto index = number_in(request, "id");
    return board_.read([&](const WindowState& state, std::uint64_t /*version*/) {
        return index && *index < state.files.size() ? json_response(to_json(state, *index))
                                                    : plain(kNotFound, "There is no such file.");
    });
}

HttpResponse Window::picture(const HttpRequest& request) {
    const auto index = number_in(request, "id");
    const std::string of = request.parameter("of");
    std::shared_ptr<Pictures> pictures;
    std::optional<Spool::Place> place;
    std::uint64_t generation = 0;
    const bool is_there = board_.read([&](const WindowState& state, std::uint64_t /*version*/) {
        if (!index || *index >= state.files.size()) {
            return false;
        }
        const ShownFile& file = state.files[*index];
        pictures = state.pictures;
        place = of == "sample" ? file.sample_picture : of == "preview" ? file.preview : file.picture;
        generation = state.generation;
        return of == "preview" || of == "sample" || of == "result";
    });
    if (!is_there || !pictures) {
        return plain(kNotFound, "There is no such picture.");
    }
    const std::string jpeg = place             ? pictures->read(*place)
                             : of == "preview" ? preview_of(*index, generation)
                                               : "";
    return jpeg.empty() ? plain(kNotFound, "There is no such picture.")
                        : HttpResponse{200, "image/jpeg", jpeg};
}

std::string Window::preview_of(std::size_t index, std::uint64_t generation) {
    std::string path;
    std::shared_ptr<Pictures> pictures;
    board_.change([&](WindowState& state) {
        if (state.generation == generation && !state.files.at(index).preview_was_sought) {
            state.files[index].preview_was_sought = true;
            path = state.files[index].path;
            pictures = state.pictures;
        }
    });
    std::string jpeg = path.empty() ? "" : previews_.preview_of(path_from(path));
    if (const auto place = pictures == nullptr ? std::nullopt : pictures->add(jpeg)) {
        board_.change([&](WindowState& state) {
            if (state.generation == generation) {
                state.files.at(index).preview = place;
            }
        });
    }
    return jpeg;
}

HttpResponse Window::folder(const HttpRequest& request) const {
    const std::string text = request.parameter("path");
    const auto path = text.empty() ? std::optional(platform::home_folder()) : path_in(text);
    if (!path) {
        return plain(kBadRequest, "A path begins at the top of a disk.");
    }
    return json_response(folder_to_json(*path));
}

HttpResponse Window::post(const HttpRequest& request) {
    const Json wish = request.body.empty() ? Json::object({}) : Json::parse(request.body);
    if (request.path == "/find") {
        return find(wish);
    }
    const std::lock_guard lock(wishes_);
    if (request.path == "/choose") {
        return choose(wish);
    }
    if (request.path == "/start") {
        return start();
    }
    if (request.path == "/stop") {
        return stop();
    }
    if (request.path == "/sheet") {
        return save_sheet();
    }
    if (request.path == "/open") {
        return open(wish);
    }
    is_quit_ = true;
    return done();
}

HttpResponse Window::choose(const Json& wish) {
    const std::string what = wish.text("what");
    const auto path = path_in(wish.text("path"));
    if (!path) {
        return plain(kBadRequest, "A path begins at the top of a disk.");
    }
    if (activity() == Activity::kRepairing) {
        return plain(kConflict, "A run is under way. Stop it first.");
    }
    if (what == "out" ? is_on_disk(*path) && !is_folder(*path) : !is_on_disk(*path)) {
        return plain(kConflict, utf8_from(*path) + (what == "out" ? ": no folder" : ": no such folder"));
    }
    if (what != "damaged" && what != "samples" && what != "out") {
        return plain(kBadRequest, "There is nothing of that name to choose.");
    }
    work_.recognise([&](ChosenFolders& folders) {
        if (what == "damaged" && (folders.out.empty() || folders.out == proposed_results(folders.damaged))) {
            folders.out = proposed_results(*path);
        }
        (what == "damaged" ? folders.damaged : what == "samples" ? folders.samples : folders.out) = *path;
    });
    return done();
}

HttpResponse Window::start() {
    const bool are_chosen = board_.read(
        [](const WindowState& state, std::uint64_t /*version*/) { return state.folders.are_complete(); });
    if (!are_chosen) {
        return plain(kConflict, "Choose the folders first.");
    }
    if (activity() == Activity::kRepairing || activity() == Activity::kSaving) {
        return plain(kConflict, "Something else is under way.");
    }
    work_.repair();
    return done();
}

HttpResponse Window::stop() {
    work_.stop();
    return done();
}

HttpResponse Window::save_sheet() {
    const bool has_run =
        board_.read([](const WindowState& state, std::uint64_t /*version*/) { return state.run.has_ended; });
    if (!has_run || activity() != Activity::kNone) {
        return plain(kConflict, "There is no run that has ended.");
    }
    work_.save_sheet();
    return done();
}

HttpResponse Window::open(const Json& wish) const {
    const std::string what = wish.text("what");
    const fs::path path = board_.read([&](const WindowState& state, std::uint64_t /*version*/) {
        return what == "results" ? state.folders.out : what == "sheet" ? state.sheet : fs::path();
    });
    if (path.empty() || !is_on_disk(path)) {
        return plain(kConflict, "There is nothing to show yet.");
    }
    return settings_.open_path(path) ? done()
                                     : plain(kConflict, utf8_from(path) + ": the desktop cannot show it");
}

HttpResponse Window::find(const Json& wish) const {
    DroppedFolder dropped{unescaped_name(wish.text("name")), {}};
    for (const Json& file : wish.member("files").elements()) {
        dropped.files.push_back({file.required_text("name"), file.required_integer<std::uint64_t>("size")});
    }
    Json folders = Json::array();
    for (const fs::path& folder : find_dropped(dropped, starting_folders())) {
        folders.append(to_json(folder));
    }
    return json_response(Json::object({{"folders", folders}}));
}

} // namespace plate_mend::host
