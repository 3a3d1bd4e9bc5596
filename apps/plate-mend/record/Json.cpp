#include "record/Json.h"

#include <utility>

#include <nlohmann/json.hpp>

namespace plate_mend::host {

namespace {

using Value = nlohmann::ordered_json;

const Value& value_of(const std::shared_ptr<void>& content) {
    static const Value kNull;
    return content == nullptr ? kNull : *static_cast<const Value*>(content.get());
}

std::shared_ptr<void> content_of(Value value) {
    return value.is_null() ? nullptr : std::make_shared<Value>(std::move(value));
}

/// The value, for this content alone.
Value& own_value_of(std::shared_ptr<void>& content) {
    if (content == nullptr || content.use_count() != 1) {
        content = std::make_shared<Value>(value_of(content));
    }
    return *static_cast<Value*>(content.get());
}

/// Moves a value out of its content, or copies it if the content is shared.
Value take_from(const std::shared_ptr<void>& content) {
    if (content == nullptr || content.use_count() != 1) {
        return value_of(content);
    }
    return std::move(*static_cast<Value*>(content.get()));
}

/// Calls a function of the library, whose exceptions become ours.
template <typename Function>
auto translated(Function function) {
    try {
        return function();
    } catch (const Value::exception&) {
        throw JsonError();
    }
}

} // namespace

Json::Json(bool value) : content_(content_of(value)) {}

Json::Json(double value) : content_(content_of(value)) {}

Json::Json(const char* text) : content_(content_of(text)) {}

Json::Json(const std::string& text) : content_(content_of(text)) {}

Json::Json(const std::vector<std::string>& texts) : content_(content_of(texts)) {}

void Json::assign_signed(std::int64_t value) {
    content_ = content_of(value);
}

void Json::assign_unsigned(std::uint64_t value) {
    content_ = content_of(value);
}

Json Json::object(std::initializer_list<Member> members) {
    Value value = Value::object();
    for (const auto& [name, member] : members) {
        value[name] = take_from(member.content_);
    }
    return Json(content_of(std::move(value)));
}

Json Json::array() {
    return Json(content_of(Value::array()));
}

Json Json::text_or_null(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

Json Json::parse(std::string_view text) {
    return translated([text] { return Json(content_of(Value::parse(text))); });
}

void Json::set(const char* name, Json value) {
    const Json member = std::move(value);
    own_value_of(content_)[name] = take_from(member.content_);
}

void Json::append(Json value) {
    const Json element = std::move(value);
    own_value_of(content_).push_back(take_from(element.content_));
}

std::string Json::line() const {
    return value_of(content_).dump(-1, ' ', false, Value::error_handler_t::replace);
}

bool Json::is_null() const {
    return value_of(content_).is_null();
}

bool Json::has(const char* name) const {
    return value_of(content_).contains(name);
}

std::vector<Json> Json::elements() const {
    std::vector<Json> elements;
    for (const Value& element : value_of(content_)) {
        elements.push_back(part(&element));
    }
    return elements;
}

std::string Json::text() const {
    return translated([this] { return value_of(content_).get<std::string>(); });
}

Json Json::member(const char* name) const {
    const Value& value = value_of(content_);
    const auto found = value.find(name);
    return found == value.end() ? Json() : part(&*found);
}

std::string Json::text(const char* name) const {
    const Json value = member(name);
    return value.is_null() ? std::string() : value.text();
}

bool Json::truth(const char* name) const {
    const Json value = member(name);
    return !value.is_null() && translated([&] { return value_of(value.content_).get<bool>(); });
}

std::optional<double> Json::real(const char* name) const {
    const Json value = member(name);
    return value.is_null()
               ? std::nullopt
               : std::optional(translated([&] { return value_of(value.content_).get<double>(); }));
}

Json Json::required(const char* name) const {
    if (!has(name)) {
        throw JsonError();
    }
    return member(name);
}

std::string Json::required_text(const char* name) const {
    return required(name).text();
}

bool Json::required_truth(const char* name) const {
    const Json value = required(name);
    return translated([&] { return value_of(value.content_).get<bool>(); });
}

std::optional<std::int64_t> Json::signed_integer() const {
    const Value& value = value_of(content_);
    return value.is_number_integer() && !value.is_number_unsigned() ? std::optional(value.get<std::int64_t>())
                                                                    : std::nullopt;
}

std::optional<std::uint64_t> Json::unsigned_integer() const {
    const Value& value = value_of(content_);
    return value.is_number_unsigned() ? std::optional(value.get<std::uint64_t>()) : std::nullopt;
}

} // namespace plate_mend::host
