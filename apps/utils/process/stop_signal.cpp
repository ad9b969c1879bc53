#include "apps/utils/process/stop_signal.h"

#include <atomic>

#include <windows.h>

namespace orvane::tool {
namespace {

std::atomic<bool> g_requested = false;

BOOL WINAPI Handle(DWORD event) {
    if (event == CTRL_CLOSE_EVENT || event == CTRL_LOGOFF_EVENT || event == CTRL_SHUTDOWN_EVENT) {
        g_requested = true;
        Sleep(INFINITE);  // Windows ends the program when this returns, or when its patience does
    }
    const bool isStop = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
    return isStop && !g_requested.exchange(true) ? TRUE : FALSE;
}

}  // namespace

StopSignal::StopSignal() {
    SetConsoleCtrlHandler(&Handle, TRUE);
}

StopSignal::~StopSignal() {
    SetConsoleCtrlHandler(&Handle, FALSE);
}

bool StopSignal::Requested() {
    return g_requested;
}

}  // namespace orvane::tool
