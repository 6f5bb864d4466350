#pragma once

#include "ctl/command_records.h"
#include "tests/ctl/fake_service.h"

#include <algorithm>

namespace testing {

/// Sensors, commands, names and the tree of groups in memory, for a FakeService. It answers as the real service does,
/// and keeps of each value what the real database keeps of it.
class FakeRegistry
{
public:
    /// `service` outlives this object.
    explicit FakeRegistry(FakeService &service)
        : m_service(service)
    {
        m_service.other = [this](const bus::Command &command) { handle(command); };
    }

    QMap<qint32, QList<SensorInfoX>> sensors;
    QMap<qint32, ctl::RemoteCommands> commands;
    QMap<qint32, QByteArray> names;
    QByteArray tree;                         ///< the answer to a request of the whole tree
    QMap<QByteArray, QByteArray> catalogues; ///< answers by command; empty ones where there is none
    QStringList createdBesides;              ///< names of objects that others create together with the next one
    bool hasDatabase = true;

private:
    using Handler = void (FakeRegistry::*)(keystone::ByteReader &, const bus::Command &);

    void handle(const bus::Command &command)
    {
        static const QMap<QByteArray, Handler> readers = {
            {"Get_sensors_v2", &FakeRegistry::sendSensors},
            {"Get_command_desc_v2", &FakeRegistry::sendCommands},
            {"Get_objects", &FakeRegistry::sendNames},
            {"Get_full_objects_tree", &FakeRegistry::sendTree},
            {"Get_example_objprops_v2", &FakeRegistry::sendCatalogue},
            {"Get_example_sensors_v2", &FakeRegistry::sendCatalogue},
            {"Get_example_controls_v2", &FakeRegistry::sendCatalogue},
        };
        static const QMap<QByteArray, Handler> writers = {
            {"Save_sensors_v2", &FakeRegistry::saveSensors},
            {"Fix_sensor_multi_objs_v2", &FakeRegistry::fixSensor},
            {"Save_command_desc_v2", &FakeRegistry::saveCommands},
            {"Fix_cmd_desc_multi_objs_v2", &FakeRegistry::fixCommand},
            {"Fix_object_v2", &FakeRegistry::fixObject},
        };
        keystone::ByteReader in(command.data);
        if (readers.contains(command.name))
            (this->*readers[command.name])(in, command);
        else if (writers.contains(command.name) && !m_service.refusesChanges)
            (this->*writers[command.name])(in, command);
    }

    void sendSensors(keystone::ByteReader &in, const bus::Command &command)
    {
        qint32 object = 0;
        in >> object;
        QByteArray reply;
        keystone::ByteWriter out(&reply);
        out << object << qint32(sensors[object].size());
        for (const SensorInfoX &sensor : sensors[object])
            out << sensor;
        m_service.peer.action(command.name, command.idConnection, reply);
    }

    void insert(qint32 object, SensorInfoX sensor)
    {
        sensor.enumeration = sensor.enumeration.join(u';').split(u';');
        sensors[object].append(sensor);
    }

    void saveSensors(keystone::ByteReader &in, const bus::Command &)
    {
        qint32 object = 0;
        qint32 count = 0;
        in >> object >> count;
        sensors[object].clear();
        for (; count > 0; --count) {
            SensorInfoX sensor;
            in >> sensor;
            insert(object, sensor);
        }
    }

    void fixSensor(keystone::ByteReader &in, const bus::Command &)
    {
        bool set = false;
        QList<int> objects;
        SensorInfoX sensor;
        in >> set >> objects;
        if (set)
            in >> sensor;
        else
            in >> sensor.name;
        for (const int object : objects) {
            sensors[object].removeIf([&](const SensorInfoX &stored) {
                return set ? stored.type == sensor.type : stored.name == sensor.name;
            });
            if (set)
                insert(object, sensor);
        }
    }

    void sendCommands(keystone::ByteReader &in, const bus::Command &command)
    {
        qint32 object = 0;
        in >> object;
        QByteArray reply;
        keystone::ByteWriter out(&reply);
        out << object << qint32(commands[object].size());
        for (const ctl::RemoteCommand &one : commands[object])
            ctl::writeCommand(out, one);
        m_service.peer.action(command.name, command.idConnection, reply);
    }

    static ctl::RemoteCommand readCommand(keystone::ByteReader &in)
    {
        ctl::RemoteCommand command;
        in >> command.head;
        for (qint32 index = 0; index < command.head.numParams; ++index) {
            ParamDesc param;
            in >> param;
            command.params.append(param);
        }
        return command;
    }

    void insert(qint32 object, ctl::RemoteCommand command)
    {
        command.head.id = 0;
        for (ParamDesc &param : command.params)
            param.id = ++m_service.lastId;
        commands[object].append(command);
        std::stable_sort(commands[object].begin(), commands[object].end(),
                         [](const auto &one, const auto &other) { return one.head.operation < other.head.operation; });
    }

    void saveCommands(keystone::ByteReader &in, const bus::Command &)
    {
        qint32 object = 0;
        qint32 count = 0;
        in >> object >> count;
        commands[object].clear();
        for (; count > 0; --count)
            insert(object, readCommand(in));
    }

    void fixCommand(keystone::ByteReader &in, const bus::Command &)
    {
        bool set = false;
        QList<int> objects;
        ctl::RemoteCommand command;
        in >> set >> objects;
        if (set)
            command = readCommand(in);
        else
            in >> command.head.name;
        for (const int object : objects) {
            commands[object].removeIf(
                [&](const ctl::RemoteCommand &stored) { return stored.head.name == command.head.name; });
            if (set)
                insert(object, command);
        }
    }

    void sendNames(keystone::ByteReader &, const bus::Command &command)
    {
        QByteArray reply;
        keystone::ByteWriter out(&reply);
        out << qint32(names.size());
        for (auto name = names.cend(); name != names.cbegin();) {
            --name;
            out << name.key() << name.value();
        }
        m_service.peer.action(command.name, command.idConnection, reply);
    }

    void fixObject(keystone::ByteReader &in, const bus::Command &)
    {
        qint32 selector = 0;
        QByteArray name;
        in >> selector;
        if (selector >= 0)
            in >> name;
        if (selector == 0) {
            names.insert(++m_service.lastId, name);
            for (const QString &other : createdBesides)
                names.insert(++m_service.lastId, other.toUtf8());
        } else if (selector > 0) {
            for (CardsProperty &property : m_service.cards[selector]) {
                if (property.name == u"name")
                    property.value = name;
            }
        } else {
            m_service.cards.remove(-selector);
            sensors.remove(-selector);
            commands.remove(-selector);
        }
    }

    void sendTree(keystone::ByteReader &, const bus::Command &command)
    {
        m_service.peer.action(command.name, command.idConnection, tree);
    }

    void sendCatalogue(keystone::ByteReader &, const bus::Command &command)
    {
        const QByteArray empty = QByteArray::fromHex(hasDatabase ? "00000000" : "FFFFFFFF");
        m_service.peer.action(command.name, command.idConnection, catalogues.value(command.name, empty));
    }

    FakeService &m_service;
};

} // namespace testing
