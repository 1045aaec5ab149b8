#pragma once

#include <QByteArray>
#include <QString>

#include "spooler/win32.h"

/// A zero-terminated UTF-16 copy of a QString, in the shape that the wide functions of the platform take. They want it
/// writable although they do not write.
class WideText
{
public:
    explicit WideText(const QString &text)
        : m_text(text)
    {
        m_text.detach();
    }

    LPWSTR data() { return reinterpret_cast<LPWSTR>(m_text.data()); }

private:
    QString m_text;
};

/// The QString of a zero-terminated UTF-16 text of the platform; empty for a null pointer.
inline QString fromWide(LPCWSTR text)
{
    return QString::fromUtf16(reinterpret_cast<const ushort *>(text));
}

/// A text of the platform as the printf-style log functions take it for "%ls": UTF-16 behind a wchar_t pointer, as
/// qUtf16Printable() gives it.
inline const wchar_t *printable(LPCWSTR text)
{
    static const ushort empty = 0;
    return static_cast<const wchar_t *>(text ? static_cast<const void *>(text) : &empty);
}
