#pragma once

#include "keystone/records.h"
#include "templates/template_records.h"

#include <functional>

namespace templates {

void getTemplateCardV2(registry::CommandCall &call);
void saveTemplateCardV2(registry::CommandCall &call);

/// Walks a template's card in its order, without the properties that belong to an object alone: name, subdivision,
/// modem. What `emitProperty` does stops nothing.
void readCard(database::Connection &db, qint32 number, const std::function<void(const CardsProperty &)> &emitProperty);

/// Adds a property to an own template. Nobody learns whether that failed.
void postTemplateProperty(database::Connection &db, qint32 number, const CardsProperty &property);

} // namespace templates
