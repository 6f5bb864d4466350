#include "bench/measured_template.h"

namespace bench {

namespace {

constexpr int kProperties = 15;
constexpr int kSensors = 40;
constexpr int kCommands = 20;
constexpr int kParameters = 3; ///< of each command
constexpr qint32 kTextType = 10;

QString numbered(const char *text, int number)
{
    return QString::fromUtf8(text).arg(number, 3, 10, QLatin1Char('0'));
}

Control control(int number)
{
    Control made{{0, numbered("command_%1", number), numbered("Команда %1", number), 1 + number % 4, "\n", kParameters},
                 {}};
    for (int i = 1; i <= kParameters; ++i)
        made.parameters.append({numbered("param_%1", i).toUtf8(), "1234", numbered("Параметр %1", i), 1, 0});
    return made;
}

} // namespace

MeasuredTemplate::MeasuredTemplate()
{
    for (int i = 1; i <= kProperties; ++i)
        card.append({-1, numbered("property_%1", i), numbered("Свойство %1", i), kTextType,
                     numbered("Значение %1", i).toUtf8(), 't'});
    for (int i = 1; i <= kSensors; ++i)
        sensors.append({numbered("Датчик %1", i),
                        QStringLiteral("мм"),
                        1,
                        static_cast<qint16>(i),
                        'a',
                        {QStringLiteral("нет"), QStringLiteral("да")},
                        QStringLiteral("x*0.1"),
                        QByteArray::fromHex("0102030405060708")});
    for (int i = 1; i <= kCommands; ++i)
        controls.append(control(i));
}

keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const Control &control)
{
    out << control.command;
    for (const ParamDesc &parameter : control.parameters)
        out << parameter;
    return out;
}

} // namespace bench
