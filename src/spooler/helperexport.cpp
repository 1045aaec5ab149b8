#include "spooler/helperexport.h"

#include <QDebug>

HelperExport::HelperExport(const char *name, const Texts &texts)
    : m_library(QStringLiteral("Quaylink.dll"))
{
    if (!m_library.load()) {
        qCritical("%s", texts.loadFailed);
        return;
    }
    m_address = m_library.resolve(name);
    if (!m_address)
        qCritical("%s", texts.resolveFailed);
}

HelperExport::~HelperExport()
{
    if (m_library.isLoaded())
        m_library.unload();
}
