#pragma once

#include <QByteArrayView>

namespace keystone {

/// A text of which the UTF-8 is at hand; a null view is a null text.
struct Utf8
{
    QByteArrayView bytes;
};

/// The texts between the separators, an ASCII character; of an empty or null text that is one empty text.
struct Utf8List
{
    QByteArrayView bytes;
    char separator;
};

/// A text where it lies in a stream: UTF-16, the higher byte first; a null view is a null text.
struct Utf16
{
    QByteArrayView bytes;
};

} // namespace keystone
