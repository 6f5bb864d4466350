#include "ctl/database_probe.h"

#include "keystone/byte_reader.h"

namespace ctl {

Outcome probeDatabase(Session &session)
{
    // A small catalogue whose answer tells a failed statement (-1) from an empty table.
    Result<bus::Action> reply = session.ask("Get_example_objprops_v2", QByteArray());
    if (!reply)
        return Session::unconfirmed(reply.failure());
    keystone::ByteReader in(reply->data);
    qint32 count = -1;
    in >> count;
    if (in.ok() && count >= 0)
        return std::nullopt;
    return Failure{QStringLiteral("the service cannot read from its database, so that the change cannot be confirmed: "
                                  "its log says why")};
}

} // namespace ctl
