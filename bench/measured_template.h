#pragma once

#include "keystone/records.h"

#include <QList>

namespace bench {

struct Control
{
    CmdDesc command;
    QList<ParamDesc> parameters;
};

/// A template of a vehicle's size: 15 properties, 40 sensors, 20 commands with 60 parameters in all.
struct MeasuredTemplate
{
    MeasuredTemplate();

    QList<CardsProperty> card;
    QList<SensorInfoX> sensors;
    QList<Control> controls;
};

/// As commands carry it: the command, then its parameters.
keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const Control &control);

} // namespace bench
