#include "bench/reply_form.h"

#include "keystone/stream.h"

#include <QByteArrayView>
#include <QList>
#include <QtEndian>

#include <stdexcept>

namespace bench {

namespace {

constexpr char kEmptyPicture[] = {0, 0, 0, 0};
constexpr char kInvalidColour[] = {0, '\xff', '\xff', 0, 0, 0, 0, 0, 0, 0, 0};

/// A one-dimensional array in PostgreSQL's binary form: dimensions, NULLs, type, then length and first index, then the
/// elements, each behind its length.
QList<qint32> numbersIn(QByteArrayView array)
{
    constexpr qsizetype kHead = 3 * sizeof(qint32);
    constexpr qsizetype kBounds = 2 * sizeof(qint32);
    constexpr qsizetype kElement = 2 * sizeof(qint32);
    QList<qint32> numbers;
    const qsizetype first = kHead + kBounds + static_cast<qsizetype>(sizeof(qint32));
    for (qsizetype at = first; at < array.size(); at += kElement)
        numbers.append(qFromBigEndian<qint32>(array.data() + at));
    return numbers;
}

void writeNull(QDataStream &out, Form form)
{
    switch (form) {
    case Form::Bytes:
        out << QByteArray();
        return;
    case Form::Text:
        out << QString();
        return;
    case Form::Picture:
        out.writeRawData(kEmptyPicture, sizeof kEmptyPicture);
        return;
    case Form::Colour:
        out.writeRawData(kInvalidColour, sizeof kInvalidColour);
        return;
    case Form::Numbers:
        out << QList<qint32>();
        return;
    case Form::Number:
    case Form::Flag:
        throw std::runtime_error("the registry to measure on holds a NULL where none is meant to be");
    }
}

void writeValue(QDataStream &out, QByteArrayView value, Form form)
{
    switch (form) {
    case Form::Number:
        out << qFromBigEndian<qint32>(value.data());
        return;
    case Form::Numbers:
        out << numbersIn(value);
        return;
    case Form::Bytes:
        out << value.toByteArray();
        return;
    case Form::Text:
        out << QString::fromUtf8(value);
        return;
    case Form::Flag:
        out << (value.front() != 0);
        return;
    case Form::Picture:
    case Form::Colour:
        out.writeRawData(value.data(), static_cast<int>(value.size()));
        return;
    }
}

} // namespace

QByteArray replyOf(const Rows &rows, const std::vector<Field> &fields)
{
    QByteArray reply;
    keystone::ByteWriter out(&reply);
    const PGresult *all = rows.get();
    out << qint32(PQntuples(all));
    for (int row = 0; row < PQntuples(all); ++row) {
        for (const auto &[column, form] : fields) {
            if (column == Field::kAbsent || PQgetisnull(all, row, column) != 0)
                writeNull(out, form);
            else
                writeValue(out, {PQgetvalue(all, row, column), PQgetlength(all, row, column)}, form);
        }
    }
    return reply;
}

} // namespace bench
