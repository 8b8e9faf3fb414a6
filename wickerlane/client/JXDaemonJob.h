// Jobs that encode themselves.
#ifndef WICKERLANE_CLIENT_JXDAEMONJOB_H
#define WICKERLANE_CLIENT_JXDAEMONJOB_H

#include "wickerlane/platform/message/value/MessageValue.h"

/// What JXGatekeeperClient::sendDaemonJob() asks of a job. Called on the thread of that call.
class WL_EXPORT JXDaemonJob {
public:
    virtual ~JXDaemonJob() = default;
    /// encodeToMsgObject: — writes the operation code and the arguments into the given, empty dictionary,
    /// which is null when the message service could not make one.
    virtual void encodeToMsgObject(wickerlane::MessageDictionary *message) = 0;
    /// shouldArchiveMsgToDisk — whether archiveMsgToDisk() is to be called before the message is sent.
    [[nodiscard]] virtual bool shouldArchiveMsgToDisk() = 0;
    /// archiveMsgToDisk: — archives the encoded message, wherever the job keeps such.
    virtual void archiveMsgToDisk(wickerlane::MessageDictionary *message) = 0;
};

#endif
