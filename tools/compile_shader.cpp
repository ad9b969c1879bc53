// Compiles an HLSL file to a C++ header with its bytecode. Replaces the Windows SDK's fxc where that is missing, and
// takes those of its arguments that the build uses. d3dcompiler_47.dll must be in this program's folder.
//
//     compile_shader /T cs_5_0 /E main /Vn g_name /Fh output.h input.hlsl
#include <windows.h>
//
#include <bit>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include <d3dcompiler.h>

namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool WriteHeader(const std::string& path, const std::string& name, const unsigned char* code, size_t size) {
    std::ofstream file(path, std::ios::binary);
    file << "const unsigned char " << name << "[] = {";
    for (size_t i = 0; i < size; ++i) {
        file << (i % 24 == 0 ? "\n    " : "") << static_cast<unsigned int>(code[i]) << ',';
    }
    file << "\n};\n";
    file.close();
    return !file.fail();
}

}  // namespace

int main(int argc, char** argv) {
    std::map<std::string, std::string> options;
    std::string input;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if ((argument == "/T" || argument == "/E" || argument == "/Vn" || argument == "/Fh") && i + 1 < argc) {
            options[argument] = argv[++i];
        } else {
            input = argument;
        }
    }
    const std::string source = ReadFile(input);
    if (source.empty() || options.size() != 4) {
        std::fprintf(stderr, "usage: compile_shader /T target /E entry /Vn name /Fh output.h input.hlsl\n");
        return 2;
    }

    const HMODULE compiler = LoadLibraryW(L"d3dcompiler_47.dll");
    auto* const compile =
        compiler == nullptr ? nullptr : std::bit_cast<pD3DCompile>(GetProcAddress(compiler, "D3DCompile"));
    if (compile == nullptr) {
        std::fprintf(stderr, "d3dcompiler_47.dll cannot be used, error %lu\n", GetLastError());
        return 1;
    }
    ID3DBlob* code = nullptr;
    ID3DBlob* messages = nullptr;
    const HRESULT hr = compile(
        source.data(), source.size(), input.c_str(), nullptr, nullptr, options["/E"].c_str(), options["/T"].c_str(),
        D3DCOMPILE_OPTIMIZATION_LEVEL3 | D3DCOMPILE_ENABLE_STRICTNESS | D3DCOMPILE_WARNINGS_ARE_ERRORS, 0, &code,
        &messages);
    if (messages != nullptr) {
        std::fprintf(stderr, "%s", static_cast<const char*>(messages->GetBufferPointer()));
    }
    if (FAILED(hr)) {
        std::fprintf(stderr, "%s: compilation failed, 0x%08X\n", input.c_str(), static_cast<unsigned int>(hr));
        return 1;
    }
    std::printf("%s: %u bytes\n", options["/Vn"].c_str(), static_cast<unsigned int>(code->GetBufferSize()));
    if (!WriteHeader(options["/Fh"], options["/Vn"], static_cast<const unsigned char*>(code->GetBufferPointer()),
                     code->GetBufferSize())) {
        std::fprintf(stderr, "%s cannot be written\n", options["/Fh"].c_str());
        return 1;
    }
    return 0;
}
