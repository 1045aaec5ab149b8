#pragma once

#include "bench/support/jobload.h"

#include <QProcess>

#include <vector>

/// The relay of Node.js (relay.js), which the program is measured against. It serves the same serials as the program,
/// each on a port of its own. Ends with the object.
class NodeRelay
{
public:
    /// Keeps its journals in the world's folder. Waits until it listens for every printer.
    explicit NodeRelay(const World &world);
    ~NodeRelay();
    Q_DISABLE_COPY(NodeRelay)

    bool isListening() const { return m_listens; }
    qint64 process() const { return m_process.processId(); }
    const std::vector<JobLoad::Target> &printers() const { return m_printers; }

private:
    QProcess m_process;
    std::vector<JobLoad::Target> m_printers;
    bool m_listens = false;
};
