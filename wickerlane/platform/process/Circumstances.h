// What a process inherits besides its program, and a service should not.
#ifndef WICKERLANE_PLATFORM_PROCESS_CIRCUMSTANCES_H
#define WICKERLANE_PLATFORM_PROCESS_CIRCUMSTANCES_H

#include <string>
#include <vector>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Frees the calling process, which has no other threads yet, from what the process that started it had
/// chosen for itself: files that it makes are private, its limits are as wide as may be (the stack's is 8
/// MiB, that of core files stays), processor and disk serve it as any process, and so is it treated when
/// memory runs out. What may not be changed stays. Safe between fork and exec.
WL_EXPORT void leaveCircumstances() noexcept;

/// Takes the numbers of standard input, output and error where the process that started this one had closed
/// them, so that no file of the program's own gets them and with it what is written to the console. Reading
/// and writing there fails as before.
WL_EXPORT void occupyStandardDescriptors() noexcept;

/// The variables, as "NAME=value", that a service gets of this process's environment: who the user is, what
/// language and time zone they have, and what is meant for this system; PATH is the usual one. Everything
/// else is this process's own matter: secrets, or libraries to be loaded first.
[[nodiscard]] WL_EXPORT std::vector<std::string> serviceEnvironment();

} // namespace wickerlane

#endif
