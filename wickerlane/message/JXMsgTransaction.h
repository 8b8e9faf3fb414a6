// Keeping a process from ending while it is busy.
#ifndef WICKERLANE_MESSAGE_JXMSGTRANSACTION_H
#define WICKERLANE_MESSAGE_JXMSGTRANSACTION_H

#include "wickerlane/platform/object/Object.h"
#include "wickerlane/platform/object/String.h"

/// A transaction of the process, which is open as long as the object lives. While any is open, the system
/// treats the process as busy and does not end it for being idle. Immutable; may be used and released on any
/// thread.
class WL_EXPORT JXMsgTransaction final : public wickerlane::Object {
    WL_OBJECT
public:
    /// transaction: — a new transaction; borrowed. `identifier` names it for diagnostics and must outlive it.
    static JXMsgTransaction *transaction(const char *identifier);
    /// initWithIdentifier: — the same, owned.
    [[nodiscard]] static wickerlane::Ref<JXMsgTransaction> initWithIdentifier(const char *identifier);

    /// Does nothing. A call in the last place that needs the transaction keeps it open until there.
    void stillAlive() const noexcept {}
    /// The base description and the identifier.
    [[nodiscard]] wickerlane::String *description() const override;

    ~JXMsgTransaction() override;

private:
    explicit JXMsgTransaction(const char *identifier) noexcept;
    const char *_identifier;
};

#endif
