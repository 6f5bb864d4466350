#pragma once

#include "ctl/session.h"

#include <QList>
#include <QMap>

/// Personal setup: which properties an operator has switched on, and the catalogue of what there is to switch.
namespace ctl {

struct PersonalProperty
{
    qint32 id = 0;
    QByteArray text; ///< UTF-8
};

struct PropertyGroup
{
    QByteArray heading; ///< UTF-8
    QList<PersonalProperty> properties;
};

/// Decodes an answer of "Get_persprop4objects_desc".
[[nodiscard]] Result<QList<PropertyGroup>> decodeCatalogue(const QByteArray &reply);

/// What is on for one object; object 0 is the default of the section.
struct SetupLine
{
    qint32 object = 0;
    QList<qint32> properties;
};

/// The lines of every section that can be read: 1, 3 and 4.
using Setup = QMap<qint32, QList<SetupLine>>;

/// Checkpoint layers: a section that can be written, but no command reads it.
inline constexpr qint32 kLayerSection = 2;
inline constexpr qint32 kLastSection = 4;

/// Decodes an answer of "Get_personalsetup4objects_X".
[[nodiscard]] Result<Setup> decodeSetup(const QByteArray &reply);

/// Asks the service for the setup of one operator.
[[nodiscard]] Result<Setup> fetchSetup(Session &session, qint32 account);

/// One section without what is empty: object to the properties in ascending order, each once.
[[nodiscard]] QMap<qint32, QList<qint32>> switchedOn(const QList<SetupLine> &section);

/// Null when the section has no line for the object.
[[nodiscard]] const SetupLine *findLine(const QList<SetupLine> &section, qint32 object);

[[nodiscard]] QString sectionName(qint32 section);

/// A heading and a table for each section. Objects that have nothing on are only counted.
[[nodiscard]] QString setupTables(const Setup &setup);
[[nodiscard]] QString setupJson(qint32 account, const Setup &setup);

} // namespace ctl
