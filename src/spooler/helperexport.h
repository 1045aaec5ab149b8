#pragma once

#include <QLibrary>

/// One export of the port helper library, which is loaded with this object and unloaded with it: nothing is kept
/// between calls. A missing library or export is logged and leaves the object false. Any thread.
class HelperExport
{
public:
    /// The log lines of one operation; each names its place in the code.
    struct Texts
    {
        const char *loadFailed;
        const char *resolveFailed;
    };

    HelperExport(const char *name, const Texts &texts);
    ~HelperExport();
    Q_DISABLE_COPY(HelperExport)

    explicit operator bool() const { return m_address != nullptr; }

    /// The export as a function of the given type. Valid as long as this object.
    template <typename Function>
    Function *as() const
    {
        return reinterpret_cast<Function *>(m_address);
    }

private:
    QLibrary m_library;
    QFunctionPointer m_address = nullptr;
};
