#pragma once

#include "ctl/json_fields.h"
#include "ctl/json_text.h"
#include "ctl/reply_reader.h"
#include "ctl/session.h"
#include "keystone/records.h"

#include <QList>

/// Remote-control commands of objects and templates: reading them from the service, and their forms for people and
/// programs.
namespace ctl {

/// One remote-control command with all that belongs to it. `head.numParams` is not used: `params` says it.
struct RemoteCommand
{
    CmdDesc head;
    QList<ParamDesc> params;
};

using RemoteCommands = QList<RemoteCommand>;

/// Bytes of a CmdDesc and of a ParamDesc whose texts and bytes are empty.
inline constexpr int kSmallestCommand = 24;
inline constexpr int kSmallestParam = 20;

/// Reads a CmdDesc and as many ParamDesc as it announces.
[[nodiscard]] RemoteCommand readCommand(ReplyReader &in);

/// Writes what readCommand() reads.
void writeCommand(keystone::ByteWriter &out, const RemoteCommand &command);

/// Decodes an answer of "Get_command_desc_v2". An answer that is short, too long, promises more than it holds or is
/// about another object is a failure.
[[nodiscard]] Result<RemoteCommands> decodeCommands(const QByteArray &reply, qint32 object);

/// Asks the service for the commands of `object`.
[[nodiscard]] Result<RemoteCommands> fetchCommands(Session &session, qint32 object);

/// A table of the commands and, below it, one of their parameters.
[[nodiscard]] QString commandTables(const RemoteCommands &commands);

/// "2 control": an operation code with its meaning.
[[nodiscard]] QString operationForPeople(qint32 operation);

/// The fields of one command, its parameters the last, in the order that people expect. Row keys that are 0 are left
/// out.
[[nodiscard]] QList<JsonMember> commandMembers(const RemoteCommand &command);

/// {"object": N, "commands": [...]}, one command on a line.
[[nodiscard]] QString commandsJson(qint32 object, const RemoteCommands &commands);

/// Reads the members that commandMembers() writes, row keys only if they are there. The caller calls refuseOthers().
[[nodiscard]] RemoteCommand readCommand(JsonFields &fields, JsonProblem &problem);

/// Notes the first value of `command`, read from `fields`, that the registry cannot keep.
void noteUnstorable(const RemoteCommand &command, JsonFields &fields);

/// Reads what commandsJson() writes, for an object. "object" may be missing, else it must be `object`.
[[nodiscard]] Result<RemoteCommands> readCommandsJson(const QByteArray &text, qint32 object);

/// Reads one element of "commands", for objects.
[[nodiscard]] Result<RemoteCommand> readCommandJson(const QByteArray &text);

/// Whether `stored`, read back from the registry, is what was sent. Row keys do not count.
[[nodiscard]] bool isStored(const RemoteCommand &sent, const RemoteCommand &stored);

} // namespace ctl
