#pragma once

#include "keystone/byte_writer.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <libpq-fe.h>

#include <memory>

namespace database {

/// The outcome of one statement: its rows, or nothing where it failed. Rows and columns count from 0; a column that is
/// not there (-1) reads as NULL.
class Result
{
public:
    Result() = default;                ///< a statement that failed
    explicit Result(PGresult *result); ///< takes ownership

    [[nodiscard]] bool ok() const { return m_result != nullptr; }
    [[nodiscard]] int rowCount() const;

    /// The number of rows, -1 for a statement that failed.
    [[nodiscard]] qint32 size() const { return ok() ? rowCount() : -1; }

    [[nodiscard]] int columnCount() const;

    /// -1 where no column has this name.
    [[nodiscard]] int column(const char *name) const;

    [[nodiscard]] bool isNull(int row, int column) const;

    /// 0 for NULL and for what is no number.
    [[nodiscard]] qint32 integer(int row, int column) const;

    /// Null for NULL, which an empty text is not.
    [[nodiscard]] QString text(int row, int column) const;

    /// The same as the server sent it, for a reply; as long as the result lives.
    [[nodiscard]] keystone::Utf8 utf8(int row, int column) const { return {view(row, column)}; }

    /// Null for NULL, which an empty value is not.
    [[nodiscard]] QByteArray bytes(int row, int column) const;

    /// The same without a copy, as long as the result lives.
    [[nodiscard]] QByteArrayView view(int row, int column) const;

    /// Latin-1 code of the first character of a one-character column, 't' or 'f' for a boolean one; 0 for NULL, an
    /// empty text and characters beyond Latin-1.
    [[nodiscard]] qint16 character(int row, int column) const;

private:
    struct Clear
    {
        void operator()(PGresult *result) const { PQclear(result); }
    };

    std::unique_ptr<PGresult, Clear> m_result;
    bool m_binary = false;
};

} // namespace database
