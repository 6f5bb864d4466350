#include "keystone/version.h"

QString getKeystoneVersion()
{
    return QStringLiteral("1.0.0");
}
