// Runs the program orvane. Windows only.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "apps/utils/files/program_folder.h"

namespace orvane {

struct Outcome {
    int exitCode = 0;
    std::string text;  // of both outputs
};

// Runs the program, which is in the test's folder, from `folder`. Its output stays there.
inline Outcome RunOrvane(const std::filesystem::path& folder, const std::wstring& arguments) {
    static int number = 0;  // one log file per run, because Wine may keep the last one open
    const std::filesystem::path log = folder / (std::to_wstring(++number) + L".log");
    const std::wstring line = L"cd /d \"" + folder.wstring() + L"\" && \"" +
                              (tool::ProgramFolder() / "orvane.exe").wstring() + L"\" " + arguments;
    Outcome outcome;
    outcome.exitCode = _wsystem((line + L" > \"" + log.wstring() + L"\" 2>&1").c_str());
    outcome.text.assign(std::istreambuf_iterator<char>(std::ifstream(log).rdbuf()), {});
    return outcome;
}

}  // namespace orvane
