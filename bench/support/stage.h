#pragma once

#include "tests/support/programfolder.h"

#include <QString>

#include <vector>

/// A printer of the program.
struct StagePrinter
{
    QString serial;
    quint16 port;    ///< on 127.0.0.1
    QString journal; ///< today's file
};

/// The built program in a folder of its own, on an emulated machine with so many printers. The environment's $ORVO_BIN
/// names what was built. Nobody serves the port of its cloud until the measurement does.
class Stage
{
public:
    static constexpr quint16 cloudPort = 18080; // fixed when the program was built

    /// The printers are set up. isReady() tells whether that went well.
    explicit Stage(int printers);

    bool isReady() const { return m_ready; }

    /// Starts the cloud emulator with these options besides the port; false when it does not come up.
    bool startCloud(const QStringList &options = {});

    /// Starts the program; false unless it soon listens for all printers and has asked for the devices' states.
    bool startProgram();

    qint64 programId() const { return m_program->processId(); }
    const std::vector<StagePrinter> &printers() const { return m_printers; }
    ProgramFolder &folder() { return m_folder; }

private:
    bool addPrinter(int number, quint16 port);

    ProgramFolder m_folder;
    std::vector<StagePrinter> m_printers;
    QProcess *m_program = nullptr;
    bool m_ready;
};

/// Tells on the standard error output that the stage could not be set up; the exit status for that.
int setUpFailed();
