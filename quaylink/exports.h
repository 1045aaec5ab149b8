#pragma once

#include "quaylink/quaylink.h"

#ifdef _WIN32
#define QUAYLINK_EXPORT __declspec(dllexport)
#else
#define QUAYLINK_EXPORT __attribute__((visibility("default")))
#endif

// Declared as functions, so that the compiler checks each definition against the type that the program calls.
extern "C" {
QUAYLINK_EXPORT Quaylink::AddStandardTcpPort AddStandardTcpPort;
QUAYLINK_EXPORT Quaylink::ConfigStandardTcpPort ConfigStandardTcpPort;
QUAYLINK_EXPORT Quaylink::DeleteStandardTcpPort DeleteStandardTcpPort;
QUAYLINK_EXPORT Quaylink::GetConfigStandardTcpPort GetConfigStandardTcpPort;
QUAYLINK_EXPORT Quaylink::StopDependentServices StopDependentServices;
QUAYLINK_EXPORT Quaylink::QDeletePrinterDriver QDeletePrinterDriver;
}
