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

/// "3,7,12": at least one object number, none twice.
[[nodiscard]] Result<QList<qint32>> readObjectList(const std::string &text);

/// Bytes written in base64.
[[nodiscard]] Result<QByteArray> readBase64(const std::string &text);

/// Bytes written as pairs of hexadecimal digits; blanks between pairs are allowed.
[[nodiscard]] Result<QByteArray> readHex(const std::string &text);

/// The bytes of an argument; never null.
[[nodiscard]] QByteArray argumentBytes(const std::string &text);

} // namespace ctl
