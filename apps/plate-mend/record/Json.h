#pragma once

#include <concepts>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace plate_mend::host {

/// A text is not JSON, a member is missing, or a value is not of the kind that was asked for.
class JsonError : public std::exception {
  public:
    [[nodiscard]] const char* what() const noexcept override { return "unexpected JSON"; }
};

/// A JSON value: null, a truth value, a number, a text, an array, or an object, whose members keep their
/// order. Copies share their content until one of them is changed.
class Json {
  public:
    /// Null.
    Json() = default;

    // What is written where a value is expected becomes one.

    Json(bool value);
    Json(double value);
    Json(const char* text);
    Json(const std::string& text);
    Json(const std::vector<std::string>& texts);
    template <std::integral Integer>
    Json(Integer value) {
        if constexpr (std::is_signed_v<Integer>) {
            assign_signed(value);
        } else {
            assign_unsigned(value);
        }
    }
    /// Null for no value.
    template <typename Value>
    Json(const std::optional<Value>& value) : Json(value ? Json(*value) : Json()) {}

    using Member = std::pair<const char*, Json>;
    [[nodiscard]] static Json object(std::initializer_list<Member> members);
    [[nodiscard]] static Json array();
    /// The text; null for an empty one.
    [[nodiscard]] static Json text_or_null(const std::string& text);
    /// Throws JsonError.
    [[nodiscard]] static Json parse(std::string_view text);

    /// Adds or replaces a member of an object.
    void set(const char* name, Json value);
    /// Adds an element to an array.
    void append(Json value);

    /// One line of UTF-8, without the line break. Bytes that are not UTF-8 become U+FFFD.
    [[nodiscard]] std::string line() const;

    [[nodiscard]] bool is_null() const;
    /// Whether this is an object with such a member.
    [[nodiscard]] bool has(const char* name) const;
    /// The elements of an array; none for null.
    [[nodiscard]] std::vector<Json> elements() const;
    /// The value itself as a text. Throws JsonError.
    [[nodiscard]] std::string text() const;

    /// A member; null where it is missing.
    [[nodiscard]] Json member(const char* name) const;
    // The same as a value. A missing member counts as null. All throw JsonError for a value of another kind
    // and for a number that does not fit.
    [[nodiscard]] std::string text(const char* name) const; ///< Empty for null.
    [[nodiscard]] bool truth(const char* name) const;       ///< False for null.
    [[nodiscard]] std::optional<double> real(const char* name) const;
    template <std::integral Integer>
    [[nodiscard]] std::optional<Integer> integer(const char* name) const {
        return member(name).template as_integer<Integer>();
    }

    // The same of members that must be there. All throw JsonError where they are not.
    [[nodiscard]] Json required(const char* name) const;
    [[nodiscard]] std::string required_text(const char* name) const;
    [[nodiscard]] bool required_truth(const char* name) const;
    template <std::integral Integer>
    [[nodiscard]] Integer required_integer(const char* name) const {
        const auto value = required(name).template as_integer<Integer>();
        if (!value) {
            throw JsonError();
        }
        return *value;
    }

  private:
    using Content = std::shared_ptr<void>; ///< A value of the JSON library, which Json.cpp alone knows.

    explicit Json(Content content) : content_(std::move(content)) {}
    /// A part of this value, which keeps the whole.
    [[nodiscard]] Json part(const void* value) const {
        return Json(Content(content_, const_cast<void*>(value)));
    }
    void assign_signed(std::int64_t value);
    void assign_unsigned(std::uint64_t value);
    [[nodiscard]] std::optional<std::int64_t> signed_integer() const;
    [[nodiscard]] std::optional<std::uint64_t> unsigned_integer() const;

    template <std::integral Integer>
    [[nodiscard]] std::optional<Integer> as_integer() const {
        if (is_null()) {
            return std::nullopt;
        }
        if (const auto value = unsigned_integer(); value && std::in_range<Integer>(*value)) {
            return static_cast<Integer>(*value);
        }
        if (const auto value = signed_integer(); value && std::in_range<Integer>(*value)) {
            return static_cast<Integer>(*value);
        }
        throw JsonError();
    }

    Content content_; ///< Null for null.
};

} // namespace plate_mend::host
