#include "ctl/template_records.h"

#include "ctl/json_text.h"
#include "ctl/reply_reader.h"
#include "ctl/table.h"
#include "ctl/text.h"

#include <algorithm>

namespace ctl {
namespace {

constexpr int kSmallestHead = 8; ///< bytes of a number and an empty title

} // namespace

Result<TemplateHeads> decodeTemplates(const QByteArray &reply)
{
    ReplyReader in(reply);
    TemplateHeads templates;
    const qint32 count = in.count(kSmallestHead, "templates");
    for (qint32 index = 0; index < count && !in.failed(); ++index) {
        const auto number = in.read<qint32>();
        templates.append({number, in.read<QByteArray>()});
    }
    if (Outcome failure = in.end())
        return *failure;
    return templates;
}

Result<TemplateHeads> fetchTemplates(Session &session)
{
    Result<bus::Action> reply = session.ask("Get_template_list_v2", QByteArray());
    if (!reply)
        return reply.failure();
    return decodeTemplates(reply->data);
}

const TemplateHead *findTemplate(const TemplateHeads &templates, qint32 number)
{
    const auto found = std::find_if(templates.cbegin(), templates.cend(),
                                    [number](const TemplateHead &one) { return one.number == number; });
    return found == templates.cend() ? nullptr : &*found;
}

Failure noTemplate(qint32 number)
{
    return {QStringLiteral("there is no template %1 (\"template list\" shows all)").arg(number)};
}

Outcome requireTemplate(Session &session, qint32 number)
{
    Result<TemplateHeads> templates = fetchTemplates(session);
    if (!templates)
        return templates.failure();
    if (findTemplate(*templates, number) == nullptr)
        return noTemplate(number);
    return std::nullopt;
}

const TemplateHead *findNewTemplate(const TemplateHeads &before, const TemplateHeads &after, const QByteArray &title)
{
    const auto found = std::find_if(after.cbegin(), after.cend(), [&](const TemplateHead &one) {
        return one.title == title && findTemplate(before, one.number) == nullptr;
    });
    return found == after.cend() ? nullptr : &*found;
}

QString templatesTable(const TemplateHeads &templates)
{
    Table table({QStringLiteral("template"), QStringLiteral("kind"), QStringLiteral("title")});
    for (const TemplateHead &one : templates)
        table.addRow({QString::number(one.number), one.number < 0 ? QStringLiteral("supplied") : QStringLiteral("own"),
                      bytesForPeople(one.title)});
    return table.text();
}

QString templatesJson(const TemplateHeads &templates)
{
    QStringList lines;
    for (const TemplateHead &one : templates)
        lines.append(jsonObject({{QStringLiteral("template"), QString::number(one.number)},
                                 {QStringLiteral("supplied"), jsonBool(one.number < 0)},
                                 {QStringLiteral("title"), jsonBytes(one.title)}}));
    return jsonObject({{QStringLiteral("templates"), jsonLines(lines)}});
}

} // namespace ctl
