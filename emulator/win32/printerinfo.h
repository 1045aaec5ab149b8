#pragma once

#include "emulator/win32/infoblock.h"
#include "emulator/win32/model/printers.h"

namespace Win32Emulator {

/// The level-2 information of a queue, for GetPrinterW and EnumPrintersW.
void fillPrinter(PRINTER_INFO_2W &info, const Model::Printer &printer, TextArea &texts);

} // namespace Win32Emulator
