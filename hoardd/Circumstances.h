// What the process that started hoardd leaves it to work with.
#ifndef HOARDD_CIRCUMSTANCES_H
#define HOARDD_CIRCUMSTANCES_H

namespace wickerlane::hoardd {

/// Leaves the circumstances of the process that started this one, before any thread starts, and says on the
/// console which of them stay and make work fail or slow.
void leaveCircumstancesOfStart();

} // namespace wickerlane::hoardd

#endif
