#pragma once

#include <exception>

namespace plate_mend {

// The exception family. The models throw them, the repairers turn them into codes.
//
// what() is a constant text of the class, and the log lines show nothing else. The message given at a throw
// documents it in the source; it is kept in the object and never shown: see docs/compatibility.md, All
// formats.

/// A field of a header or an entry fails validation.
class IllegalException : public std::exception {
  public:
    IllegalException() = default;
    explicit IllegalException(const char* text) : message(text) {}
    [[nodiscard]] const char* what() const noexcept override;

    const char* message = nullptr; ///< The text given at the throw, a literal; null if none was.
};

/// A search found no match.
class NotFoundException : public std::exception {
  public:
    NotFoundException() = default;
    explicit NotFoundException(const char* text) : message(text) {}
    [[nodiscard]] const char* what() const noexcept override;

    const char* message = nullptr; ///< The text given at the throw, a literal; null if none was.
};

/// An offset taken from file data is past the last byte, and was not seeked to; or a merge could not open its
/// output.
class VisitingBeyondException : public std::exception {
  public:
    VisitingBeyondException() = default;
    explicit VisitingBeyondException(const char* text) : message(text) {}
    [[nodiscard]] const char* what() const noexcept override;

    const char* message = nullptr; ///< The text given at the throw, a literal; null if none was.
};

/// A move or an access past the last byte of a mapping, or a search range that extends past it.
class OutRangeException : public std::exception {
  public:
    OutRangeException() = default;
    explicit OutRangeException(const char* text) : message(text) {}
    [[nodiscard]] const char* what() const noexcept override;

    const char* message = nullptr; ///< The text given at the throw, a literal; null if none was.
};

/// Sample and damaged file do not match.
class MismatchingException : public std::exception {
  public:
    MismatchingException() = default;
    explicit MismatchingException(const char* text) : message(text) {}
    [[nodiscard]] const char* what() const noexcept override;

    const char* message = nullptr; ///< The text given at the throw, a literal; null if none was.
};

} // namespace plate_mend
