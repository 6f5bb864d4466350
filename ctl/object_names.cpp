#include "ctl/object_names.h"

#include "ctl/reply_reader.h"

namespace ctl {
namespace {

constexpr int kSmallestName = 8; ///< bytes of an object's number and an empty name

} // namespace

Result<QList<NamedObject>> decodeObjectNames(const QByteArray &reply)
{
    ReplyReader in(reply);
    QList<NamedObject> objects;
    const qint32 count = in.count(kSmallestName, "objects");
    for (qint32 index = 0; index < count && !in.failed(); ++index) {
        NamedObject object;
        in.stream() >> object.object >> object.name;
        objects.append(object);
    }
    if (Outcome failure = in.end())
        return *failure;
    return objects;
}

Result<QList<NamedObject>> fetchObjectNames(Session &session)
{
    Result<bus::Action> reply = session.ask("Get_objects", QByteArray());
    if (!reply)
        return reply.failure();
    return decodeObjectNames(reply->data);
}

} // namespace ctl
