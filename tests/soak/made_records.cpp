#include "made_records.h"

#include "template_bytes.h"

namespace soak {

namespace {

constexpr int kPropertyNames = 8;
constexpr int kSensorTypes = 6;
constexpr int kCommandNames = 4;
constexpr int kMostParameters = 2;
constexpr int kOtherTypes = 13;

QString numbered(char letter, int number)
{
    return QLatin1Char(letter) + QString::number(number);
}

QString joined(const QStringList &cells)
{
    return cells.join(u'|');
}

support::CommandFields commandOf(int number)
{
    return {.name = commandName(number),
            .description = numbered('d', number),
            .operation = 1 + number % kCommandNames,
            .execBy = numbered('e', number).toUtf8(),
            .numParams = parameterCount(number)};
}

support::ParameterFields parameterOf(int number, int parameter)
{
    return {.name = numbered('q', parameter).toUtf8(),
            .value = numbered('v', number).toUtf8(),
            .description = numbered('d', number),
            .type = number % kOtherTypes};
}

} // namespace

support::Property propertyOf(int number)
{
    return {-1,
            numbered('p', number % kPropertyNames),
            numbered('d', number),
            number % kOtherTypes,
            numbered('v', number).toUtf8(),
            't'};
}

QString propertyRow(const support::Property &property)
{
    return joined({property.name, property.description, QString::number(property.type), hexText(property.value), "t"});
}

QString templatePropertyRow(int number)
{
    const support::Property property = propertyOf(number);
    return joined({property.name, property.description,
                   hexText(support::propertyData(property.type, property.value, property.visible))});
}

support::SensorFields sensorOf(int number)
{
    return {.name = numbered('s', number),
            .measure = numbered('m', number),
            .quality = number % kOtherTypes,
            .type = number % kSensorTypes,
            .vid = 'a' + number % 3,
            .enumeration = {numbered('l', number), "других"},
            .calculate = "x+" + QString::number(number),
            .rate = numbered('r', number).toUtf8()};
}

QString sensorRow(int number)
{
    const support::SensorFields sensor = sensorOf(number);
    return joined({sensor.name, sensor.measure, QString::number(sensor.type), sensor.calculate, QChar(sensor.vid),
                   QString::number(sensor.quality), sensor.enumeration.join(u';'), hexText(sensor.rate)});
}

QString templateSensorRow(int number)
{
    const support::SensorFields sensor = sensorOf(number);
    return joined({"", sensor.name, hexText(support::sensorData(sensor))});
}

int parameterCount(int number)
{
    return number % (kMostParameters + 1);
}

QByteArray commandBytes(int number)
{
    QByteArray result = support::commandRecord(commandOf(number));
    for (int i = 0; i < parameterCount(number); ++i)
        result += support::parameterRecord(parameterOf(number, i));
    return result;
}

QString commandName(int number)
{
    return numbered('c', number % kCommandNames);
}

QString commandRow(int number)
{
    const support::CommandFields command = commandOf(number);
    return joined(
        {"c", command.name, command.description, QString::number(command.operation), hexText(command.execBy)});
}

QString parameterRow(int number, int parameter)
{
    const support::ParameterFields fields = parameterOf(number, parameter);
    return joined({"p", numbered('d', number), QString::fromUtf8(fields.name), fields.description,
                   hexText(fields.value), QString::number(fields.type)});
}

QStringList commandRows(int number)
{
    QStringList rows{commandRow(number)};
    for (int i = 0; i < parameterCount(number); ++i)
        rows += parameterRow(number, i);
    return rows;
}

QStringList templateCommandRows(int number)
{
    const support::CommandFields command = commandOf(number);
    QStringList rows{joined(
        {"c", command.name, command.description, hexText(support::commandData(command.operation, command.execBy))})};
    for (int i = 0; i < parameterCount(number); ++i) {
        const support::ParameterFields fields = parameterOf(number, i);
        rows += joined({"d", command.description, QString::fromUtf8(fields.name), fields.description,
                        hexText(support::parameterData(fields.value, fields.type))});
    }
    return rows;
}

QString objectPropertyRow(const QString &templateRow)
{
    return propertyRow(propertyOf(numberIn(cell(templateRow, 1))));
}

QString objectSensorRow(const QString &templateRow)
{
    return sensorRow(numberIn(cell(templateRow, 1)));
}

QString objectCommandRow(const QString &templateRow)
{
    if (cell(templateRow, 0) == "c")
        return commandRow(numberIn(cell(templateRow, 2)));
    return parameterRow(numberIn(cell(templateRow, 1)), numberIn(cell(templateRow, 2)));
}

QString withCell(const QString &row, int column, const QString &text)
{
    QStringList cells = row.split(u'|');
    cells[column] = text;
    return joined(cells);
}

} // namespace soak
