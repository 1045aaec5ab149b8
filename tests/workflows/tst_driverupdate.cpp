#include "src/workflows/drivercheck.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>

#include "emulator/win32/control.h"

namespace {

using DriverCheck::State;

const QString model = "Orvo OX-410T";

/// Lays the driver package beside the test; without a version there is none.
void layPackage(const QString &version)
{
    QDir().mkpath(QCoreApplication::applicationDirPath() + "/Driver");
    QFile inf(DriverCheck::infFile());
    inf.remove();
    if (version.isEmpty())
        return;
    inf.open(QIODevice::WriteOnly);
    inf.write(
        ("[Version]\nDriverVer=03/14/2022," + version + "\n[Manufacturer]\n%Orvo%=Orvo\n[Orvo]\n\"" + model + "\"=a\n")
            .toUtf8());
}

} // namespace

Q_DECLARE_METATYPE(DriverCheck::State)

/// What the versions of driver and package mean.
class DriverUpdateTest : public QObject
{
    Q_OBJECT

private slots:
    void states_data()
    {
        QTest::addColumn<QString>("installed");
        QTest::addColumn<QString>("package");
        QTest::addColumn<State>("state");
        const auto row = [](const QString &installed, const QString &package, State state) {
            QTest::newRow(qUtf8Printable(installed + " and " + package)) << installed << package << state;
        };
        row("1.4.0.2", "1.4.0.2", State::UpToDate);
        row("1.4", "1.4.0.0", State::UpToDate);
        row("01.04", "1.4", State::UpToDate);
        row("1.4.0.9", "1.4.0.10", State::PackageNewer);
        row("1.4", "1.4.0.0.1", State::PackageNewer);
        row("1.99999999999999999999", "1.100000000000000000000", State::PackageNewer);
        row("2", "1.99.99", State::InstalledNewer);
        row("none", "1.4", State::NotInstalled);
        row("", "1.4", State::InstalledUnreadable);
        row("1.4b", "1.4", State::InstalledUnreadable);
        row("1.4", "", State::PackageUnreadable);
        row("1.4", "1..4", State::PackageUnreadable);
    }

    void states()
    {
        QFETCH(QString, installed);
        QFETCH(QString, package);
        Win32Emulator::reset();
        if (installed != "none")
            Win32Emulator::addDriver({model.toStdString(), "Windows x64", installed.toStdString(), "old.inf"});
        layPackage(package);
        QTEST(DriverCheck::versions().state, "state");
    }
};

QTEST_GUILESS_MAIN(DriverUpdateTest)
#include "tst_driverupdate.moc"
