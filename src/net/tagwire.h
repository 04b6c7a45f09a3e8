#pragma once

#include "datagram.h"
#include "tagrecord.h"

// The tag record datagram and the stored tag record, field by field (the table
// is in docs/file-formats.md). Pure: no store, no socket.
namespace TagWireMap {

// Fields 1-28, 32 and 33 from a stored tag: "00000", state "0", not sealed, no
// password or sender address yet (the send fills 29-31 and the sender's name).
Net::TagDatagram toDatagram(const TagRecord &tag);
// Every field the datagram carries, back into a record, as it came.
TagRecord fromDatagram(const Net::TagDatagram &wire);

// What a received datagram becomes on this machine: a tag from senderName at
// senderAddress (dotted) that starts nothing here. No open-file or mail action and
// no file path; it rings this machine's arrival sound, not the sender's file; the
// password stays only while the tag is sealed. The TagNumber is left for the store.
TagRecord receivedTag(const Net::TagDatagram &wire, const QString &senderName,
                      const QString &senderAddress);

} // namespace TagWireMap
