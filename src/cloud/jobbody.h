#pragma once

#include <QByteArray>
#include <QIODevice>

/// The body of a job submission as the network layer reads it: once. Given a byte array, the framework sends a POST
/// again when the connection breaks before the answer's headers are complete, and the job might be printed twice; a
/// device that cannot go back to its beginning rules that out. The bytes are released as soon as the last was read.
class JobBody : public QIODevice
{
    Q_OBJECT
public:
    explicit JobBody(const QByteArray &body, QObject *parent = nullptr);

    bool isSequential() const override { return true; }
    bool reset() override { return false; }
    bool atEnd() const override { return m_position == m_body.size(); }
    qint64 bytesAvailable() const override;

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *data, qint64 size) override;

private:
    QByteArray m_body;
    int m_position = 0;
};
