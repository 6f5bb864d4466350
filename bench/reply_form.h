#pragma once

#include "bench/bare_connection.h"

#include <QByteArray>

#include <vector>

namespace bench {

/// How a value stands in a reply.
enum class Form {
    Number,  ///< qint32
    Numbers, ///< a list of them, from an array
    Bytes,   ///< QByteArray
    Text,    ///< QString
    Flag,    ///< bool
    Picture, ///< the stored bytes; for NULL an empty QImage
    Colour,  ///< the stored bytes; for NULL an invalid QColor
};

struct Field
{
    static constexpr int kAbsent = -1; ///< a column that reads as NULL

    int column;
    Form form;
};

/// What a reply has to hold of `rows` (binary values): their number, and the fields of each.
[[nodiscard]] QByteArray replyOf(const Rows &rows, const std::vector<Field> &fields);

} // namespace bench
