// Bytes that the database or a stream holds, read as records: whatever they are, a record read from them is packed,
// streamed and read again as the same; and what a database server may send as a value reads without surprise.
// Input: a byte that chooses, then the bytes.

#include "database/copied_row.h"
#include "database/result.h"
#include "fuzz.h"
#include "keystone/byte_reader.h"
#include "keystone/byte_writer.h"
#include "keystone/records.h"
#include "keystone/stream.h"
#include "records/record_rows.h"

#include <QtEndian>

#include <array>
#include <initializer_list>

namespace {

template <typename Record>
QByteArray streamed(const Record &record)
{
    QByteArray bytes;
    keystone::ByteWriter out(&bytes);
    out << record;
    return bytes;
}

void write(keystone::ByteWriter &out, const CardsProperty &record, const QByteArray &blob)
{
    records::writeProperty(out, record.id, {}, {}, blob);
}

void write(keystone::ByteWriter &out, const SensorInfoX &, const QByteArray &blob)
{
    records::writeSensor(out, {}, blob);
}

void write(keystone::ByteWriter &out, const CmdDesc &record, const QByteArray &blob)
{
    records::writeCommand(out, record.id, {}, {}, blob, record.numParams);
}

void write(keystone::ByteWriter &out, const ParamDesc &record, const QByteArray &blob)
{
    records::writeParameter(out, {}, blob, {}, record.id);
}

/// What is unpacked packs as the same again, and is what a reply gets.
template <typename Record>
void packAgain(const QByteArray &blob)
{
    Record first;
    records::unpack(blob, first);
    const QByteArray packed = records::pack(first);
    Record second;
    records::unpack(packed, second);
    FUZZ_CHECK(records::pack(second) == packed);
    QByteArray written;
    keystone::ByteWriter out(&written);
    write(out, first, blob);
    FUZZ_CHECK(written == streamed(first));
}

template <typename Record>
Record readFrom(const QByteArray &bytes)
{
    Record record;
    keystone::ByteReader in(bytes);
    in >> record;
    return record;
}

template <typename Record>
void streamAgain(const QByteArray &bytes)
{
    const QByteArray written = streamed(readFrom<Record>(bytes));
    FUZZ_CHECK(streamed(readFrom<Record>(written)) == written);
}

/// A text whose UTF-8 is at hand is written as the text is.
void writeText(const QByteArray &bytes)
{
    QByteArray written;
    keystone::ByteWriter(&written) << keystone::Utf8{bytes.isNull() ? QByteArray("") : bytes};
    const QString text = QString::fromUtf8(bytes);
    FUZZ_CHECK(written == streamed(text.isNull() ? QString("") : text));
}

/// Whatever a peer sends is read as QDataStream reads it.
template <typename Value>
void readAsAStream(const QByteArray &bytes)
{
    QDataStream stream(bytes);
    stream.setVersion(keystone::kStreamVersion);
    Value expected{};
    stream >> expected;
    keystone::ByteReader in(bytes);
    Value value{};
    in >> value;
    FUZZ_CHECK(value == expected && in.position() == stream.device()->pos());
    FUZZ_CHECK(in.ok() == (stream.status() == QDataStream::Ok));
}

/// The same for a container. QDataStream takes memory for whatever a count promises, so one that cannot be kept is left
/// out.
template <typename Container>
void readContainerAsAStream(const QByteArray &bytes)
{
    keystone::ByteReader ahead(bytes);
    quint32 count = 0;
    ahead >> count;
    if (keystone::mayHold(ahead, count, 1))
        readAsAStream<Container>(bytes);
}

/// One row of these columns, all holding `value`, as the database server would send it. Types: 16 boolean, 23 integer,
/// 25 text.
database::Result row(std::initializer_list<const char *> columns, const QByteArray &value, Oid type, bool binary)
{
    PGresult *result = PQmakeEmptyPGresult(nullptr, PGRES_TUPLES_OK);
    QList<PGresAttDesc> descriptions;
    for (const char *name : columns)
        descriptions.append({const_cast<char *>(name), 0, 0, binary ? 1 : 0, type, -1, -1});
    FUZZ_CHECK(PQsetResultAttrs(result, int(descriptions.size()), descriptions.data()) == 1);
    for (int column = 0; column < descriptions.size(); ++column) {
        QByteArray copy = value;
        FUZZ_CHECK(PQsetvalue(result, 0, column, copy.data(), int(copy.size())) == 1);
    }
    return database::Result(result);
}

void readValues(QByteArray value)
{
    const unsigned how = fuzz::takeByte(value);
    const bool binary = (how & 1) != 0;
    const std::array<Oid, 3> types = {16, 23, 25};
    // The text form of a value ends with a zero byte and holds none.
    if (!binary)
        value.replace('\0', '0');
    const database::Result card =
        row({"Id", "Name", "Description", "Type", "Value", "Visible"}, value, types[(how >> 1) % types.size()], binary);
    QByteArray written;
    keystone::ByteWriter out(&written);
    records::CardRows(card).write(out, 0);
    FUZZ_CHECK(streamed(readFrom<CardsProperty>(written)) == written);
    FUZZ_CHECK(card.bytes(0, card.column("Value")) == value);
    const database::Result sensor =
        row({"Name", "Measure", "Quality", "Type", "Vid", "Enum", "Calculate", "Rate"}, value, 25, binary);
    written.clear();
    records::SensorRows(sensor).write(out, 0);
    FUZZ_CHECK(readFrom<SensorInfoX>(written).enumeration == QString::fromUtf8(value).split(QLatin1Char(';')));
}

/// An integer array in the server's binary form: what goes in comes out.
void readArray(const QByteArray &bytes)
{
    QList<qint32> expected;
    QByteArray value;
    const auto put = [&value](qint32 number) {
        std::array<char, sizeof(qint32)> buffer{};
        qToBigEndian(number, buffer.data());
        value.append(buffer.data(), qsizetype(buffer.size()));
    };
    constexpr qsizetype elementBytes = 1 + sizeof(qint32);
    const qsizetype count = bytes.size() / elementBytes;
    put(count > 0 ? 1 : 0); // dimensions
    put(1);                 // may hold NULL
    put(23);
    if (count > 0) {
        put(qint32(count));
        put(1); // lower bound
    }
    for (qsizetype i = 0; i < count; ++i) {
        const char *element = bytes.constData() + i * elementBytes;
        const bool null = (*element & 1) != 0;
        const auto number = qFromBigEndian<qint32>(element + 1);
        put(null ? -1 : qint32(sizeof(qint32)));
        if (!null)
            put(number);
        expected.append(null ? 0 : number);
    }
    FUZZ_CHECK(database::integersOf(value) == expected);
}

/// What a COPY may send for a row, and no more than has come.
void readCopiedRow(const QByteArray &bytes)
{
    database::CopiedRow row;
    if (!row.read(bytes))
        return;
    qsizetype size = 0;
    for (qsizetype column = 0; column < row.columnCount(); ++column) {
        (void)row.integer(column);
        FUZZ_CHECK(row.integers(column).size() <= row.view(column).size());
        size += row.view(column).size();
    }
    FUZZ_CHECK(size + row.columnCount() * qsizetype(sizeof(qint32)) < bytes.size());
}

constexpr void (*kReaders[])(const QByteArray &) = {packAgain<CardsProperty>,
                                                    packAgain<SensorInfoX>,
                                                    packAgain<CmdDesc>,
                                                    packAgain<ParamDesc>,
                                                    streamAgain<CardsProperty>,
                                                    streamAgain<SensorInfoX>,
                                                    streamAgain<CmdDesc>,
                                                    streamAgain<ParamDesc>,
                                                    writeText,
                                                    [](const QByteArray &value) { readValues(value); },
                                                    readArray,
                                                    readAsAStream<QString>,
                                                    readAsAStream<QByteArray>,
                                                    readAsAStream<qint16>,
                                                    readAsAStream<bool>,
                                                    readContainerAsAStream<QStringList>,
                                                    readContainerAsAStream<QList<qint32>>,
                                                    readContainerAsAStream<QMap<qint32, QString>>,
                                                    readCopiedRow};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    QByteArray input = fuzz::bytesOf(data, size);
    const std::size_t choice = fuzz::takeByte(input) % std::size(kReaders);
    kReaders[choice](input);
    return 0;
}
