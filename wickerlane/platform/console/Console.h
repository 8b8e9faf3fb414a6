// The process console log: standard error.
#ifndef WICKERLANE_PLATFORM_CONSOLE_CONSOLE_H
#define WICKERLANE_PLATFORM_CONSOLE_CONSOLE_H

#include <string>
#include <string_view>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Writes one line: the text that formatUTF8() makes of the format, and a newline, in one write. Control
/// characters in what is put in for conversions are shown escaped ("\n" as a backslash and an n), so that
/// foreign text cannot forge a line; those of the format itself, and tabs, stay. Thread-safe; output errors
/// are ignored.
WL_EXPORT void consoleLog(const char *format, ...);

/// The same for a finished text, whose control characters (all but tabs) are escaped. False when the gate let
/// it not pass.
WL_EXPORT bool consoleLogText(std::string_view text);

// For programs that look after their console themselves. From any thread.

/// Asked on the thread that is about to write a line, whether it may. It writes no line itself.
WL_EXPORT void setConsoleGate(bool (*gate)());
/// Writes lines, each with a line break, to where they are kept. When it returns false, standard error gets
/// them. It writes nothing to the console itself.
WL_EXPORT void setConsoleWriter(bool (*writer)(std::string_view lines));

/// `text` with its control characters escaped: "\n", "\r", and "\x1b" style for the others; tabs stay. Also
/// escapes, in "\u2028" style, the Unicode line separators, C1 controls and format characters, such as the
/// marks that reverse the direction of a text. A backslash stays as it is.
WL_EXPORT std::string escapingControls(std::string_view text);

} // namespace wickerlane

#endif
