#include "apps/orvane/images/image_jobs.h"

#include <fstream>
#include <iostream>
#include <map>
#include <system_error>

#include <windows.h>

#include "apps/utils/failure.h"
#include "apps/utils/files/find_files.h"
#include "apps/utils/files/long_path.h"
#include "apps/utils/files/utf8_path.h"
#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

bool IsFolder(const NamedPath& named) {
    std::error_code error;
    return fs::is_directory(named.path, error);
}

// For comparing file names, in which case does not matter.
std::wstring Key(const fs::path& path) {
    std::wstring key = path.wstring();
    CharLowerBuffW(key.data(), static_cast<DWORD>(key.size()));
    return key;
}

bool LiesIn(const fs::path& path, const fs::path& folder) {
    const std::wstring key = Key(path);
    const std::wstring start = Key(folder / "");
    return key.starts_with(start);
}

class JobFinder {
public:
    explicit JobFinder(const JobOptions& options)
        : m_options(options), m_output(PathFromUtf8(options.output)), m_target(m_output) {}

    std::vector<ImageJob> Find() {
        if (IsSingleFile()) {
            AddSingleFile();
        } else {
            for (const std::string& input : m_options.inputs) {
                const fs::path path = PathFromUtf8(input);
                if (IsFolder(path)) {
                    AddFolder(path);
                } else {
                    Add(path, path.filename());
                }
            }
            AddList();
        }
        if (m_jobs.empty()) {
            throw Failure(
                "There are no images to upscale. Files with these extensions count: .png, .jpg, .tif, .bmp and .webp.");
        }
        return std::move(m_jobs);
    }

private:
    bool IsSingleFile() const {
        return m_options.inputs.size() == 1 && m_options.list.empty() && HasImageExtension(m_output) &&
               !IsFolder(m_target) && !IsFolder(PathFromUtf8(m_options.inputs.front()));
    }

    void AddSingleFile() {
        const std::optional<ImageFormat> format = FormatOfExtension(m_output);
        if (!format) {
            throw UsageError("Files like " + Quoted(m_options.output) +
                             " cannot be written: choose .png, .jpg, .tif or .bmp.");
        }
        if (m_options.keepsFormat || (m_options.format && *m_options.format != *format)) {
            throw UsageError("The extension of " + Quoted(m_options.output) + " does not match --format.");
        }
        Add({PathFromUtf8(m_options.inputs.front()), m_target, *format});
    }

    void AddFolder(const fs::path& folder) {
        const fs::path root = LongPath(folder);
        const size_t rootLength = (root / "").native().size();
        // Results of an earlier run are not images of this one.
        const bool mayHoldResults = !LiesIn(root / "x", m_target.path);
        for (const fs::path& path : FindFiles(root)) {
            if (HasImageExtension(path) && !(mayHoldResults && LiesIn(path, m_target.path))) {
                const fs::path relative = path.native().substr(rootLength);
                Add(folder / relative, relative);
            }
        }
    }

    // Relative paths of the list keep their folders. In a list of a large collection many images would otherwise have
    // the same name.
    void AddLine(std::string line) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        if (line.empty()) {
            return;
        }
        const fs::path path = PathFromUtf8(line);
        const fs::path normal = path.lexically_normal();
        const bool leadsDown = path.is_relative() && !path.has_root_path() && *normal.begin() != "..";
        Add(path, leadsDown ? normal : path.filename());
    }

    void AddList() {
        if (m_options.list.empty()) {
            return;
        }
        std::ifstream file;
        if (m_options.list != "-") {
            file.open(NamedPath(PathFromUtf8(m_options.list)).path, std::ios::binary);
            if (!file) {
                throw Failure("The list " + Quoted(m_options.list) + " cannot be read.");
            }
        }
        std::istream& lines = m_options.list == "-" ? std::cin : file;
        std::string line;
        for (bool isFirst = true; std::getline(lines, line); isFirst = false) {
            const bool hasMark = isFirst && line.starts_with("\xEF\xBB\xBF");
            AddLine(hasMark ? line.substr(3) : line);
        }
    }

    void Add(const fs::path& input, const fs::path& relativeOutput) {
        const ImageFormat own = FormatOfExtension(input).value_or(ImageFormat::kPng);
        const ImageFormat format = m_options.keepsFormat ? own : m_options.format.value_or(ImageFormat::kPng);
        fs::path result = relativeOutput;
        // A fitting extension keeps its spelling.
        if (FormatOfExtension(result) != format) {
            result.replace_extension(ExtensionOf(format));
        }
        Add({input, m_output / result, format});
    }

    void Add(ImageJob job) {
        const fs::path& input = job.input.path;
        const fs::path& output = job.output.path;
        const auto [other, isNew] = m_inputOfOutput.emplace(Key(output), job.input);
        if (!isNew && Key(other->second.path) == Key(input)) {
            return;  // named twice
        }
        if (!isNew) {
            throw UsageError(Quoted(other->second.name) + " and " + Quoted(job.input.name) + " would both become " +
                             Quoted(job.output.name) + ". Choose an output folder for each, or try --format same.");
        }
        std::error_code error;
        if (Key(input) == Key(output) || fs::equivalent(input, output, error)) {
            throw UsageError("The result would replace the image " + Quoted(job.input.name) + ". Choose another -o.");
        }
        m_jobs.push_back(std::move(job));
    }

    const JobOptions& m_options;
    fs::path m_output;
    NamedPath m_target;  // the same
    std::vector<ImageJob> m_jobs;
    std::map<std::wstring, NamedPath> m_inputOfOutput;
};

}  // namespace

std::vector<ImageJob> FindImages(const JobOptions& options) {
    return JobFinder(options).Find();
}

}  // namespace orvane::tool
