// Requests that an application encodes itself.
#ifndef WICKERLANE_CLIENT_JXDAEMONJOB_H
#define WICKERLANE_CLIENT_JXDAEMONJOB_H

#include "wickerlane/platform/message/value/MessageValue.h"

/// A job for JXGatekeeperClient::sendDaemonJob(), which calls these methods on its own thread.
class WL_EXPORT JXDaemonJob {
public:
    virtual ~JXDaemonJob() = default;
    /// encodeToMsgObject: — writes the operation code and the arguments into an empty dictionary. It is null
    /// when the message service could not create one.
    virtual void encodeToMsgObject(wickerlane::MessageDictionary *message) = 0;
    /// shouldArchiveMsgToDisk — whether archiveMsgToDisk() is called before the message is sent.
    [[nodiscard]] virtual bool shouldArchiveMsgToDisk() = 0;
    /// archiveMsgToDisk: — archives the encoded message, in whatever place the job chooses.
    virtual void archiveMsgToDisk(wickerlane::MessageDictionary *message) = 0;
};

#endif
