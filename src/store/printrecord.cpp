#include "store/printrecord.h"

#include <QStringList>

namespace {

const QLatin1Char separator(';');
const auto testPage = QStringLiteral("测试页");

} // namespace

QString JobLabel::text() const
{
    return document + separator + submissionTime;
}

bool JobRecord::isTestPage() const
{
    return label.contains(testPage + separator);
}

QString JobRecord::text(const QString &status) const
{
    return QStringList({label, status, QString::number(size), time}).join(separator);
}

PrintRecord PrintRecord::parse(const QString &text)
{
    const QStringList fields = text.split(separator);
    return {fields.value(0), fields.value(1), fields.value(2), fields.value(3), fields.value(4)};
}
