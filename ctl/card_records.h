#pragma once

#include "ctl/hub_client.h"
#include "ctl/json_fields.h"
#include "ctl/session.h"
#include "keystone/records.h"

#include <QList>

/// The card of an object: reading it from the service, and its forms for people and programs.
namespace ctl {

using Card = QList<CardsProperty>;

/// Bytes of a CardsProperty whose texts and value are empty.
inline constexpr int kSmallestProperty = 22;

/// Decodes an answer of "Get_object_card_v2". An answer that is short, too long, promises more than it holds or is
/// about another object is a failure.
[[nodiscard]] Result<Card> decodeCard(const QByteArray &reply, qint32 object);

/// Asks the service for the card of `object`.
[[nodiscard]] Result<Card> fetchCard(Session &session, qint32 object);

[[nodiscard]] QString cardTable(const Card &card);

/// One property, on one line.
[[nodiscard]] QString propertyJson(const CardsProperty &property);

/// An array, one property on a line.
[[nodiscard]] QString propertiesJson(const Card &card);

/// {"object": N, "card": [...]}
[[nodiscard]] QString cardJson(qint32 object, const Card &card);

/// Reads one property of what cardJson() writes. The caller calls refuseOthers().
[[nodiscard]] CardsProperty readProperty(JsonFields &fields);

/// Reads what cardJson() writes. "object" may be missing, else it must be `object`; ids may be missing and are ignored.
[[nodiscard]] Result<Card> readCardJson(const QByteArray &text, qint32 object);

/// Whether `stored`, read back from the registry, is what was sent. Row keys do not count, and a flag counts by its
/// truth value: the registry keeps no more of it (no value counts as false).
[[nodiscard]] bool isStored(const CardsProperty &sent, const CardsProperty &stored);

/// The value as a person sees it: pictures and colours by what they show.
[[nodiscard]] QString valueForPeople(const QString &propertyName, const QByteArray &value);

} // namespace ctl
