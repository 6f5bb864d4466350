#pragma once

#include "database/connection.h"
#include "keystone/records.h"

/// The statements on single rows of "Objects_property" that several commands run.
namespace registry {

/// Adds a property at the end of the card of `object`; the record's id is not used. False when the insert failed.
bool insertProperty(database::Connection &db, qint32 object, const CardsProperty &property);

/// Changes the value of one property; false when the statement failed, true also when the card has no such property.
bool updatePropertyValue(database::Connection &db, qint32 object, const QString &name, const QByteArray &value);

} // namespace registry
