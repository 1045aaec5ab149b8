#pragma once

#include "tests/fuzz/support.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <fuzzer/FuzzedDataProvider.h>
#include <sanitizer/lsan_interface.h>

/// The input as JSON. The framework's reader loses an object or array whose key comes again behind it; that leak is not
/// what is looked for here.
inline QJsonDocument jsonOf(const QByteArray &bytes)
{
    const __lsan::ScopedDisabler leaksDoNotCount;
    return QJsonDocument::fromJson(bytes);
}

/// Makes documents out of any input, with the service's own words in them: few inputs are JSON, and fewer have the
/// members that count.
class JsonMaker
{
public:
    explicit JsonMaker(const QByteArray &bytes)
        : m_input(reinterpret_cast<const std::uint8_t *>(bytes.constData()), std::size_t(bytes.size()))
    {
    }

    QJsonDocument document()
    {
        if (m_input.ConsumeIntegralInRange(0, 15) == 0)
            return QJsonDocument(array(0));
        return QJsonDocument(object(0));
    }

private:
    static constexpr int deepest = 3;
    static constexpr int mostMembers = 4;

    QString text()
    {
        static const char *const words[] = {"code",     "data", "veltraId", "jobneed",  "jobSize", "0123456789ABCDEF",
                                            "正在打印", "17",   "离线",     "打印成功", ""};
        if (m_input.ConsumeBool())
            return QString::fromUtf8(m_input.PickValueInArray(words));
        return QString::fromStdString(m_input.ConsumeRandomLengthString());
    }

    QJsonObject object(int depth)
    {
        QJsonObject object;
        for (int left = m_input.ConsumeIntegralInRange(0, mostMembers); left > 0; --left) {
            const QString key = text();
            object.insert(key, value(depth + 1));
        }
        return object;
    }

    QJsonArray array(int depth)
    {
        QJsonArray array;
        for (int left = m_input.ConsumeIntegralInRange(0, mostMembers); left > 0; --left)
            array.append(value(depth + 1));
        return array;
    }

    QJsonValue value(int depth)
    {
        constexpr int codes[] = {0, 17, 1001, 4002};
        switch (m_input.ConsumeIntegralInRange(0, depth < deepest ? 6 : 4)) {
        case 0:
            return QJsonValue();
        case 1:
            return m_input.ConsumeBool();
        case 2:
            return m_input.PickValueInArray(codes);
        case 3:
            return m_input.ConsumeFloatingPoint<double>();
        case 4:
            return text();
        case 5:
            return object(depth);
        default:
            return array(depth);
        }
    }

    FuzzedDataProvider m_input;
};
