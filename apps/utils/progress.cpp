#include "apps/utils/progress.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <io.h>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "apps/utils/progress_meter.h"

namespace orvane::tool {
namespace {

using Clock = std::chrono::steady_clock;
using nlohmann::ordered_json;

void WriteLine(std::FILE* stream, const std::string& text) {
    std::fprintf(stream, "%s\n", text.c_str());
    std::fflush(stream);  // at once, even into a pipe, because the next step may take long
}

// Paths may contain invalid Unicode, which is replaced.
std::string Dump(const ordered_json& object) {
    return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

// True at most once in every period.
class Metronome {
public:
    explicit Metronome(Clock::duration period) : m_period(period) {}

    bool Ticks() {
        const Clock::time_point now = Clock::now();
        if (now < m_next) {
            return false;
        }
        m_next = now + m_period;
        return true;
    }

private:
    Clock::duration m_period;
    Clock::time_point m_next = Clock::now();
};

class JsonProgress : public Progress {
public:
    explicit JsonProgress(std::FILE* stream) : m_stream(stream) {}

    void Note(const std::string& text) override { Write({{"event", "note"}, {"text", text}}); }
    void Warn(const std::string& text) override { Write({{"event", "warning"}, {"text", text}}); }

    void Begin(const Workload& workload) override {
        const std::lock_guard lock(m_mutex);
        m_meter.emplace(workload);
    }

    void Advance(double items, uint64_t frames, double milliseconds) override {
        const std::lock_guard lock(m_mutex);
        if (!m_meter) {
            return;
        }
        m_meter->Advance(items, frames, milliseconds);
        if (m_metronome.Ticks()) {
            ordered_json object{{"event", "progress"}, {"unit", m_meter->Work().unit}, {"done", m_meter->ItemsDone()}};
            if (m_meter->Work().total) {
                object["total"] = *m_meter->Work().total;
            }
            object["millisecondsPerFrame"] = m_meter->MillisecondsPerFrame();
            object["perSecond"] = m_meter->ItemsPerSecond();
            WriteLine(m_stream, Dump(object));
        }
    }

    void Item(const std::string& /*line*/, const ordered_json& object) override { Write(object); }
    void Failed(const std::string& /*sentence*/, const ordered_json& object) override { Write(object); }
    void End() override {}

private:
    void Write(const ordered_json& object) {
        const std::lock_guard lock(m_mutex);
        WriteLine(m_stream, Dump(object));
    }

    std::FILE* m_stream;
    std::mutex m_mutex;
    std::optional<ProgressMeter> m_meter;
    Metronome m_metronome{std::chrono::seconds(1)};
};

class QuietProgress : public Progress {
public:
    void Note(const std::string& /*text*/) override {}
    void Warn(const std::string& text) override { WriteLine(stderr, "Warning: " + text); }
    void Begin(const Workload& /*workload*/) override {}
    void Advance(double /*items*/, uint64_t /*frames*/, double /*milliseconds*/) override {}
    void Item(const std::string& /*line*/, const ordered_json& /*object*/) override {}
    void Failed(const std::string& sentence, const ordered_json& /*object*/) override { WriteLine(stderr, sentence); }
    void End() override {}
};

// Lines, and on a terminal a bar below them. All Windows consoles understand the carriage return.
class TextProgress : public Progress {
public:
    TextProgress(std::FILE* stream, bool hasBar)
        : m_stream(stream),
          m_hasBar(hasBar),
          m_metronome(hasBar ? Clock::duration(std::chrono::milliseconds(100)) : std::chrono::seconds(10)) {}

    void Note(const std::string& text) override { Tell(m_stream, text); }
    void Warn(const std::string& text) override { Tell(stderr, "Warning: " + text); }
    void Item(const std::string& line, const ordered_json& /*object*/) override { Tell(m_stream, line); }
    void Failed(const std::string& sentence, const ordered_json& /*object*/) override { Tell(stderr, sentence); }

    void Begin(const Workload& workload) override {
        const std::lock_guard lock(m_mutex);
        m_meter.emplace(workload);
        m_metronome.Ticks();  // there is nothing to report yet
    }

    void Advance(double items, uint64_t frames, double milliseconds) override {
        const std::lock_guard lock(m_mutex);
        if (!m_meter) {
            return;
        }
        m_meter->Advance(items, frames, milliseconds);
        if (!m_metronome.Ticks()) {
            return;
        }
        if (m_hasBar) {
            ShowBar();
        } else if (m_meter->Fraction() < 1) {  // the end is reported by an item
            WriteLine(m_stream, m_meter->Text());
        }
    }

    void End() override {
        const std::lock_guard lock(m_mutex);
        EraseBar();
        m_meter.reset();
    }

private:
    void Tell(std::FILE* stream, const std::string& text) {
        const std::lock_guard lock(m_mutex);
        EraseBar();
        WriteLine(stream, text);
        if (m_hasBar && m_meter) {
            ShowBar();
        }
    }

    void ShowBar() {
        constexpr size_t kCells = 24;
        const auto full = static_cast<size_t>(m_meter->Fraction() * kCells);
        std::string bar;
        if (m_meter->Work().total) {
            bar = "[" + std::string(full, '#') + std::string(kCells - full, '.') + "] ";
        }
        bar += m_meter->Text();
        const std::string rest(m_barLength > bar.size() ? m_barLength - bar.size() : 0, ' ');
        std::fprintf(m_stream, "\r%s%s", bar.c_str(), rest.c_str());
        std::fflush(m_stream);
        m_barLength = bar.size();
    }

    void EraseBar() {
        if (m_barLength > 0) {
            std::fprintf(m_stream, "\r%s\r", std::string(m_barLength, ' ').c_str());
            std::fflush(m_stream);
            m_barLength = 0;
        }
    }

    std::FILE* m_stream;
    bool m_hasBar;
    std::mutex m_mutex;
    std::optional<ProgressMeter> m_meter;
    Metronome m_metronome;
    size_t m_barLength = 0;  // of the text on the last line
};

bool IsTerminal(std::FILE* stream) {
    return _isatty(_fileno(stream)) != 0;
}

}  // namespace

void AddProgressOptions(CLI::App& command, ProgressOptions& options) {
    CLI::Option* quiet = command.add_flag("--quiet", options.quiet, "Print warnings and errors only");
    command.add_flag("--json", options.json, "Print one JSON object per line, for programs")->excludes(quiet);
}

std::unique_ptr<Progress> MakeProgress(const ProgressOptions& options, std::FILE* stream) {
    if (options.json) {
        return std::make_unique<JsonProgress>(stream);
    }
    if (options.quiet) {
        return std::make_unique<QuietProgress>();
    }
    return std::make_unique<TextProgress>(stream, IsTerminal(stream));
}

}  // namespace orvane::tool
