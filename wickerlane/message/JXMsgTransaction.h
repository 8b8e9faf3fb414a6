// Keeping a process from being ended for idleness.
#ifndef WICKERLANE_MESSAGE_JXMSGTRANSACTION_H
#define WICKERLANE_MESSAGE_JXMSGTRANSACTION_H

#include "wickerlane/platform/object/Object.h"
#include "wickerlane/platform/object/String.h"

/// Holds one transaction of the process open as long as it lives: while any is open the system treats the
/// process as busy. Immutable; may be shared and released on any thread.
class WL_EXPORT JXMsgTransaction final : public wickerlane::Object {
    WL_OBJECT
public:
    /// transaction: — a borrowed transaction. `identifier` names it for diagnostics and must outlive it.
    static JXMsgTransaction *transaction(const char *identifier);
    /// initWithIdentifier: — the same, owned.
    [[nodiscard]] static wickerlane::Ref<JXMsgTransaction> initWithIdentifier(const char *identifier);

    /// Does nothing: to be called from the last place that must keep the transaction open.
    void stillAlive() const noexcept {}
    /// The base description and the identifier.
    [[nodiscard]] wickerlane::String *description() const override;

    ~JXMsgTransaction() override;

private:
    explicit JXMsgTransaction(const char *identifier) noexcept;
    const char *_identifier;
};

#endif
