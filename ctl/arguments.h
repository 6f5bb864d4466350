#pragma once

#include "ctl/result.h"

#include <QByteArray>
#include <QList>

#include <CLI/CLI.hpp>

#include <limits>
#include <string>

/// Reading of words of the command line, strict and with messages that name what is expected.
namespace ctl {

/// Accepts a decimal integer of the range, so that "010" or "0x10" is not silently taken for another number.
[[nodiscard]] CLI::Validator decimal(qint64 lowest, qint64 highest);

/// An object number: 0 to 2147483647.
[[nodiscard]] inline CLI::Validator objectNumber()
{
    return decimal(0, std::numeric_limits<qint32>::max());
}

/// -2147483647 to 2147483647: what may be negated.
[[nodiscard]] inline CLI::Validator anyNumber()
{
    return decimal(-std::numeric_limits<qint32>::max(), std::numeric_limits<qint32>::max());
}

/// "3,7,12": at least one object number, none twice.
[[nodiscard]] Result<QList<qint32>> readObjectList(const std::string &text);

/// "3,7,12" as the value of `option`: at least one number from 0 to 2147483647, none twice. `thing`: what they number.
[[nodiscard]] Result<QList<qint32>> readNumberList(const std::string &text, const char *option, const char *thing);

/// Refuses a name with a single quote, which the service would put between such quotes in SQL as it is. `field`: where
/// the name was given; `instead`: what can be done.
[[nodiscard]] Outcome refuseQuote(const QString &name, const char *field, const char *instead);

/// Bytes written in base64.
[[nodiscard]] Result<QByteArray> readBase64(const std::string &text);

/// Bytes written as pairs of hexadecimal digits; blanks between pairs are allowed.
[[nodiscard]] Result<QByteArray> readHex(const std::string &text);

/// The bytes of an argument; never null.
[[nodiscard]] QByteArray argumentBytes(const std::string &text);

} // namespace ctl
