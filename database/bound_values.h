#pragma once

#include "database/value.h"

#include <QList>
#include <QVarLengthArray>

namespace database {

/// Values as libpq wants them. They must outlive this.
class BoundValues
{
public:
    explicit BoundValues(const QList<Value> &values)
    {
        for (const Value &value : values) {
            m_data.append(value.data());
            m_sizes.append(value.size());
            m_formats.append(value.isBinary() ? 1 : 0);
            m_types.append(value.type());
        }
    }

    [[nodiscard]] int count() const { return static_cast<int>(m_data.size()); }
    [[nodiscard]] const char *const *data() const { return m_data.constData(); }
    [[nodiscard]] const int *sizes() const { return m_sizes.constData(); }
    [[nodiscard]] const int *formats() const { return m_formats.constData(); }
    [[nodiscard]] const Oid *types() const { return m_types.constData(); }

private:
    static constexpr qsizetype kUsual = 16;

    QVarLengthArray<const char *, kUsual> m_data;
    QVarLengthArray<int, kUsual> m_sizes;
    QVarLengthArray<int, kUsual> m_formats;
    QVarLengthArray<Oid, kUsual> m_types;
};

} // namespace database
