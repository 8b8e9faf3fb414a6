// What the process that started hoardd leaves it to work with.
#ifndef HOARDD_CIRCUMSTANCES_H
#define HOARDD_CIRCUMSTANCES_H

#include <string>

namespace wickerlane::hoardd {

/// Leaves the circumstances of the process that started this one, before any thread starts, and says on the
/// console which of them stay and make work fail or slow. Gives up the privileges that hoardd does not need.
void leaveCircumstancesOfStart();

/// Why root must not serve the library: it is that of another user, whose own hoardd could not use what root
/// would leave there. As a text for people; empty when there is no such reason.
[[nodiscard]] std::string whyLibraryIsAnothers();

} // namespace wickerlane::hoardd

#endif
