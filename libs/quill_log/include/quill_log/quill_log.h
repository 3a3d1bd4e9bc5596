/** @file
 * quill_log.h - a small log: one file, lines with time, level and module.
 *
 * Strings are NUL-terminated UTF-8 and are not kept. Both functions may be called from several threads at
 * once. Neither throws.
 */
#ifndef QUILL_LOG_QUILL_LOG_H
#define QUILL_LOG_QUILL_LOG_H

/** Marks the exports. */
#if defined(_WIN32)
#if defined(QUILL_LOG_BUILDING)
#define QUILL_LOG_API __declspec(dllexport)
#else
#define QUILL_LOG_API __declspec(dllimport)
#endif
#else
#define QUILL_LOG_API __attribute__((visibility("default")))
#endif

/** Makes the compiler check a format against its arguments, where it can. */
#if defined(__GNUC__) && defined(__MINGW32__)
#define QUILL_LOG_PRINTF(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#define QUILL_LOG_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define QUILL_LOG_PRINTF(text, first)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Levels of LogEx. Any other level below 3 counts as information, any above as an error. */
enum { QUILL_LOG_INFORMATION = 1, QUILL_LOG_ERROR = 3 };

/**
 * Opens the log file, for appending.
 *
 *   config_directory  not read; part of the interface for log libraries that have settings.
 *   module            not kept; every line names its own module.
 *   log_file          path of the log file. Its folder must exist. The last backslash is turned into the
 *                     platform's own separator. A relative path is resolved in the current directory now, so
 *                     that a later change of directory does not move the log.
 *
 * Returns 1, or 0 when the file cannot be opened or log_file is not well-formed UTF-8; an earlier log then
 * stays open. A second successful call moves the log: later lines go to the new file.
 */
QUILL_LOG_API unsigned char InitLogEx(const char* config_directory, const char* module, const char* log_file);

/**
 * Appends one line: local time, level word, module, and the text formatted as printf does, of any length.
 *
 *   2026-11-21 09:30:00.125 [info] [PlateMend] [MndRawInit](42): text
 *
 * A text with line breaks stays together. The line is passed to the system before the call returns, so that
 * a crash of the process loses nothing. Before a successful InitLogEx the line is discarded.
 *
 *   module  the name in the line.
 *   level   QUILL_LOG_INFORMATION ("info") or QUILL_LOG_ERROR ("error").
 */
QUILL_LOG_API void LogEx(const char* module, int level, const char* format, ...) QUILL_LOG_PRINTF(3, 4);

#ifdef __cplusplus
}
#endif

#endif /* QUILL_LOG_QUILL_LOG_H */
