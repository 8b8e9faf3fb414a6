// The library as the subcommands read it.
#ifndef CLI_OPENEDLIBRARY_H
#define CLI_OPENEDLIBRARY_H

#include "cli/Command.h"
#include "cli/Output.h"
#include "wickerlane/store/ObjectStore.h"

namespace wickerlane::cli {

/// Says on standard error that the daemon can't be reached, and what to look at.
ExitCode failUnreachable();

/// Whether the daemon answers; starts it when it is not running. Tells what has no value from what has no
/// daemon.
bool daemonAnswers();

/// The library's store; null, after an error on standard error, when there is none.
Ref<store::ObjectStore> openStore();

/// The asset that a person named by its UUID, its persistent URL or the URI of its object ID. Null, after an
/// error on standard error, when there is none.
Ref<store::ManagedAsset> findAsset(store::ObjectStore &store, const std::string &name);

/// What an asset is called outside the library: as its sender called it, else as the library does. One path
/// component, never empty.
std::string outsideName(const store::AssetRecord &asset);

/// All that is known of an asset, for machines.
JSON describe(const store::ManagedAsset &asset);

} // namespace wickerlane::cli

#endif
