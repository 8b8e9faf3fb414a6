// The object IDs of a library, without going through the daemon.
#ifndef WICKERLANE_STORE_OBJECTSTORE_H
#define WICKERLANE_STORE_OBJECTSTORE_H

#include <memory>
#include <string>

#include "wickerlane/model/ManagedObjectID.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::store {

class StoreReader;

/// A library's store, opened to resolve its object IDs, as JXManagedObjectIDFromMsgValue() asks for it. It
/// never blocks or changes the store. What is in the library is asked of the daemon: JXGatekeeperClient.h.
/// Thread-safe.
class WL_EXPORT ObjectStore final : public Object, public ObjectIDResolver {
    WL_OBJECT
public:
    /// Opens a library's store; by default, that of the current root. Null, with the reason in `problem` when
    /// that is not null, when there is none yet, or it can't be read, or its model is another version.
    [[nodiscard]] static Ref<ObjectStore> open(const LibraryPaths &paths, std::string *problem = nullptr);
    [[nodiscard]] static Ref<ObjectStore> open(std::string *problem = nullptr) { return open({}, problem); }

    /// The identity of this store, which its object IDs carry.
    [[nodiscard]] const std::string &storeUUID() const noexcept;

    /// Of the form that this store gives its assets; whether there is one is found out by asking for it.
    /// Borrowed from the current release scope.
    ManagedObjectID *managedObjectIDForURI(const char *uri, std::size_t length) override;

    ~ObjectStore() override;

private:
    explicit ObjectStore(std::unique_ptr<StoreReader> opened);
    std::unique_ptr<StoreReader> reader;
};

} // namespace wickerlane::store

#endif
