#pragma once

#include "registry_bytes.h"

#include <optional>

/// What the rows of a template keep packed, put together by hand like all of bytes.h.
namespace support {

/// Rows of class 'p', 's', 'c' and 'd'.
[[nodiscard]] QByteArray propertyData(int type, const QByteArray &value, int visible);
[[nodiscard]] QByteArray sensorData(const SensorFields &sensor);
[[nodiscard]] QByteArray commandData(int operation, const QByteArray &execBy);
[[nodiscard]] QByteArray parameterData(const QByteArray &value, int type);

/// A field of a record. Nothing stands for a text or byte array that was not there to be read: it is empty, and whether
/// it travels as an empty or as a null one is the same to a reader.
using Field = std::optional<QByteArray>;
/// All that a record of these fields may travel as.
[[nodiscard]] QByteArrayList spellings(const QList<Field> &fields);

} // namespace support
