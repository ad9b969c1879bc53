// Reads a model file into a stream in memory and decrypts it as its extension says.
#pragma once

#include <sstream>
#include <string>

namespace orvane {

// The characters after the last "." of the whole path, across directory separators; empty when there is none.
std::string GetFileExtension(const std::string& path);

// Appends the plain content of a model file to `stream`. The extension decides: "en" is encrypted once, "en2" twice,
// anything else is copied unchanged. False, with the reason logged, when the file cannot be opened. Damaged content is
// not an error here: what cannot be decrypted becomes zero bytes.
//
// `path` is in the process's narrow encoding. An encrypted file of 2 GiB or more is refused like one that cannot be
// opened. A plain one is limited only by the host's memory.
bool OpenModelStream(const std::string& path, std::stringstream& stream);

// The two encrypted forms, whatever the extension.
bool decryptFileToStream(const std::string& path, std::stringstream& stream);
bool decryptFileTwiceToStream(const std::string& path, std::stringstream& stream);

}  // namespace orvane
