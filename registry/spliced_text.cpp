#include "registry/spliced_text.h"

namespace registry {

database::Result runSpliced(database::Connection &db, const QString &statement, const QString &clientText)
{
    return clientText.contains(QLatin1Char('\'')) ? db.foreignScript(statement) : db.script(statement);
}

} // namespace registry
