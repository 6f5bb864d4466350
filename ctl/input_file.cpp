#include "ctl/input_file.h"

#include "ctl/text.h"

#include <QFile>

namespace ctl {

Result<QByteArray> readInput(const std::string &name)
{
    QFile file;
    const QString path = QString::fromStdString(name);
    const bool standardInput = path == u"-";
    file.setFileName(path);
    if (standardInput ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly))
        return file.readAll();
    return Failure{QStringLiteral("cannot read %1: %2").arg(printable(path), file.errorString()), true};
}

} // namespace ctl
