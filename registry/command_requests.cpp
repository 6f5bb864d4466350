#include "registry/command_requests.h"

#include "keystone/records.h"

namespace registry {

namespace {

/// Reads a command with its parameters; false where it promises more of them than the request can hold.
bool skipCommand(RequestReader &in)
{
    const auto command = in.read<CmdDesc>();
    if (!in.mayHold(command.numParams))
        return false;
    for (qint32 i = 0; i < command.numParams && !in.atEnd(); ++i)
        (void)in.read<ParamDesc>();
    return true;
}

} // namespace

bool commandsMayBeRead(RequestReader &in, qint32 count)
{
    const qint64 first = in.position();
    for (qint32 i = 0; i < count && !in.atEnd(); ++i) {
        if (!skipCommand(in))
            return false;
    }
    in.goTo(first);
    return true;
}

} // namespace registry
