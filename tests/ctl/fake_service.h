#pragma once

#include "keystone/byte_reader.h"
#include "keystone/byte_writer.h"
#include "keystone/records.h"
#include "tests/hub/peer.h"

#include <QMap>

#include <functional>

namespace testing {

/// A service with cards in memory, attached to a hub. It answers as the real one does: commands in order, changes
/// without an answer.
class FakeService : public QObject
{
public:
    explicit FakeService(const QString &path)
        : peer(path)
    {
        connect(&peer.socket, &QLocalSocket::readyRead, this, [this] {
            while (!peer.commands.isEmpty()) {
                const bus::Command command = peer.commands.takeFirst();
                requests.append(command);
                if (!silent)
                    handle(command);
            }
        });
    }

    Peer peer;
    QMap<qint32, QList<CardsProperty>> cards;
    QList<bus::Command> requests; ///< all that have arrived
    bool refusesChanges = false;
    bool silent = false;
    qint32 lastId = 100;
    std::function<void(const bus::Command &)> other; ///< takes the commands that are not about cards

private:
    void handle(const bus::Command &command)
    {
        keystone::ByteReader in(command.data);
        if (command.name == "Get_object_card_v2")
            sendCard(in, command.idConnection);
        else if (command.name == "Save_object_card_v2" && !refusesChanges)
            save(in);
        else if (command.name == "Update_object_card_field" && !refusesChanges)
            update(in);
        else if (command.name == "Fix_property_multi_objs_v2" && !refusesChanges)
            fix(in);
        else if (other)
            other(command);
    }

    void sendCard(keystone::ByteReader &in, qint32 connection)
    {
        qint32 object = 0;
        in >> object;
        QByteArray reply;
        keystone::ByteWriter out(&reply);
        out << object << qint32(cards[object].size());
        for (const CardsProperty &property : cards[object])
            out << property;
        peer.action("Get_object_card_v2", connection, reply);
    }

    void insert(qint32 object, CardsProperty property)
    {
        property.id = ++lastId;
        cards[object].append(property);
    }

    void save(keystone::ByteReader &in)
    {
        qint32 object = 0;
        qint32 count = 0;
        in >> object >> count;
        cards[object].clear();
        for (; count > 0; --count) {
            CardsProperty property;
            in >> property;
            insert(object, property);
        }
    }

    void update(keystone::ByteReader &in)
    {
        qint32 object = 0;
        QMap<int, CardsProperty> fields;
        in >> object >> fields;
        for (CardsProperty &property : cards[object]) {
            if (property.name == fields.first().name)
                property.value = fields.first().value;
        }
    }

    void fix(keystone::ByteReader &in)
    {
        bool set = false;
        QList<int> objects;
        CardsProperty property;
        in >> set >> objects;
        if (set)
            in >> property;
        else
            in >> property.name;
        for (const int object : objects) {
            cards[object].removeIf([&](const CardsProperty &stored) { return stored.name == property.name; });
            if (set)
                insert(object, property);
        }
    }
};

} // namespace testing
