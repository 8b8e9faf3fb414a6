// The library's life and upkeep.
#include "hoardd/Daemon.h"
#include "hoardd/Handlers.h"
#include "hoardd/Repair.h"
#include "wickerlane/store/Schema.h"

namespace hoardd {

using namespace wickerlane;
using namespace wickerlane::protocol;

void createPixholdDatabase(Daemon &daemon, const Call &call) {
    if (daemon.library(call) != nullptr)
        call.answer(Answer());
}

void getPhotosAndVideosCount(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const auto counts = library->assets().counts();
    if (!counts)
        return call.refuse("the library's store can't be read");
    call.answer(Answer().set(keys::photoCount, counts->photos).set(keys::videoCount, counts->videos));
}

// A library that is open has this version: another one is not opened.
void getCurrentModelVersion(Daemon &daemon, const Call &call) {
    if (daemon.library(call) != nullptr)
        call.answer(Answer().set(keys::version, store::modelVersion()));
}

void repairPotentialModelCorruption(Daemon &daemon, const Call &call) {
    Library *library = daemon.library(call);
    if (library == nullptr)
        return;
    const bool taken = daemon.longWork().add({[call, library] {
        const std::string left = repairLibrary(*library);
        if (left.empty())
            call.answer(Answer());
        else
            call.refuse(left);
    }});
    if (!taken)
        call.refuse("too much work is waiting; try again later");
}

} // namespace hoardd
