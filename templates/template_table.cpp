#include "templates/template_table.h"

namespace templates {

TemplatePlace TemplatePlace::of(qint32 number)
{
    if (number < 0)
        return {QStringLiteral("TemplatesFirm"), -qint64(number)};
    return {QStringLiteral("Templates"), number};
}

QString TemplatePlace::fill(const char *statement) const
{
    return QString::fromLatin1(statement).arg(table, QString::number(number));
}

} // namespace templates
