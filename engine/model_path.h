// Where an open record says that the model lies. Portable.
#pragma once

#include <cstring>
#include <string>

#include "api/orvane.h"

namespace orvane {

// The path in a record. It has no terminator when it fills the field.
inline std::string ModelPath(const orvane_open_param& record) {
    return {record.modelPath, strnlen(record.modelPath, sizeof(record.modelPath))};
}

}  // namespace orvane
