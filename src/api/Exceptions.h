#pragma once

#include <exception>

namespace plate_mend {

// The exception family. The models raise them, the repairers turn them into codes.
//
// what() is a constant text of the class, for that is what the log lines show. The message given at a throw
// says in the source what went wrong, is kept in the object, and is never shown.

/// A field of a header or an entry fails validation.
class IllegalException : public std::exception {
  public:
    IllegalException() = default;
    explicit IllegalException(const char* text) : message(text) {}
    [[nodiscard]] const char* what() const noexcept override;

    const char* message = nullptr; ///< The text given at the throw, a literal; null without one.
};

/// A search reached its end without a match.
class NotFoundException : public std::exception {
  public:
    NotFoundException() = default;
    explicit NotFoundException(const char* text) : message(text) {}
    [[nodiscard]] const char* what() const noexcept override;

    const char* message = nullptr; ///< The text given at the throw, a literal; null without one.
};

/// An offset taken from file data lies past the last byte, and no seek was made; or an output stream does
/// not open in a merge.
class VisitingBeyondException : public std::exception {
  public:
    VisitingBeyondException() = default;
    explicit VisitingBeyondException(const char* text) : message(text) {}
    [[nodiscard]] const char* what() const noexcept override;

    const char* message = nullptr; ///< The text given at the throw, a literal; null without one.
};

/// A move or an access past the last byte of a mapping, or a search range that lies outside it.
class OutRangeException : public std::exception {
  public:
    OutRangeException() = default;
    explicit OutRangeException(const char* text) : message(text) {}
    [[nodiscard]] const char* what() const noexcept override;

    const char* message = nullptr; ///< The text given at the throw, a literal; null without one.
};

/// Sample and damaged file disagree.
class MismatchingException : public std::exception {
  public:
    MismatchingException() = default;
    explicit MismatchingException(const char* text) : message(text) {}
    [[nodiscard]] const char* what() const noexcept override;

    const char* message = nullptr; ///< The text given at the throw, a literal; null without one.
};

} // namespace plate_mend
