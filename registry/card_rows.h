#pragma once

#include "database/connection.h"
#include "keystone/records.h"

/// The statements on single rows of "Objects_property" that several commands run.
namespace registry {

/// Adds a property at the end of the card of `object`; the record's id is not used. False when the insert failed.
[[nodiscard]] bool insertProperty(database::Connection &db, qint32 object, const CardsProperty &property);

/// The same where it does not matter whether the insert succeeds; it is not waited for.
void postProperty(database::Connection &db, qint32 object, const CardsProperty &property);

/// Changes the value of one property, where the card has it. Not waited for.
void postPropertyValue(database::Connection &db, qint32 object, const QString &name, const QByteArray &value);

} // namespace registry
