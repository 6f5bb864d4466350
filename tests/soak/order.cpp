#include "order.h"

namespace soak {

namespace {

QString numbersText(const QList<int> &numbers)
{
    QStringList texts;
    for (const int number : numbers)
        texts += QString::number(number);
    return texts.join(u' ');
}

bool holdsParts(const QByteArray &data, qsizetype from, const QByteArrayList &parts)
{
    for (const QByteArray &part : parts) {
        from = data.indexOf(part, from);
        if (from < 0)
            return false;
        from += part.size();
    }
    return true;
}

} // namespace

QString complaint(const Order &order, const Outcome &outcome)
{
    if (outcome.data.has_value() != order.isAnswered)
        return order.isAnswered ? "was not answered" : "was answered";
    if (outcome.announced != order.notices)
        return QStringLiteral("announced \"%1\" instead of \"%2\"")
            .arg(numbersText(outcome.announced), numbersText(order.notices));
    if (order.announcesNew && !outcome.behindAnswer)
        return "did not announce the new object";
    const QByteArray data = outcome.data.value_or(QByteArray());
    if (!data.startsWith(order.begin) || !holdsParts(data, order.begin.size(), order.parts))
        return QStringLiteral("was answered %1, not %2 ... %3")
            .arg(QString::fromLatin1(data.left(400).toHex()), QString::fromLatin1(order.begin.toHex()),
                 QString::fromLatin1(order.parts.join(" ... ").toHex()));
    return {};
}

} // namespace soak
