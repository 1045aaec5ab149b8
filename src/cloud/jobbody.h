#pragma once

#include <QByteArray>
#include <QIODevice>

/// Makes room for `size` bytes in a job's buffer. Jobs are the only large allocations of the program, so a large one
/// has to leave a reserve for the small ones: the process ends when Qt's own threads or the window run out of memory.
/// Throws std::bad_alloc if there is not enough memory for both. Callable on any thread.
void reserveJobMemory(QByteArray &bytes, qint64 size);

/// The body of a job submission, which can be read only once. Given a QByteArray, Qt sends a POST again when the
/// connection breaks before the answer's headers are complete, and the job might be printed twice; a device that cannot
/// be reset prevents that. The bytes are released as soon as the last one has been read.
class JobBody : public QIODevice
{
    Q_OBJECT
public:
    explicit JobBody(QByteArray body, QObject *parent = nullptr);

    bool isSequential() const override { return true; }
    bool reset() override { return false; }
    bool atEnd() const override { return m_position == m_body.size(); }
    qint64 bytesAvailable() const override;

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *data, qint64 size) override;

private:
    QByteArray m_body;
    qint64 m_position = 0;
};
