#pragma once

#include <QTextCodec>

/// Runs a check under code pages of the system: of a development machine, and of the machines that the program is for.
template <typename Check>
void underEachCodePage(Check check)
{
    for (const char *name : {"UTF-8", "GB18030"}) {
        QTextCodec *codePage = QTextCodec::codecForName(name);
        QTextCodec::setCodecForLocale(codePage);
        check(codePage);
    }
}
