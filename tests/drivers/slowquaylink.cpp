#include <chrono>
#include <thread>

// A library whose unloading takes its time, so that other threads come in between.

namespace {

struct Delay
{
    ~Delay() { std::this_thread::sleep_for(std::chrono::milliseconds(1)); }
};
const Delay delay;

} // namespace

extern "C" int GetConfigStandardTcpPort(const char16_t *, char16_t *, unsigned *)
{
    return 0;
}
