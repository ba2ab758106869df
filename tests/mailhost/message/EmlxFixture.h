#pragma once

#include "support/MessageFileSupport.h"

#include <string>

// The message bytes of a fixture .emlx file: after the byte-count line, that many bytes.
inline std::string emlxMessage(const std::string& fixtureName) {
    return testsupport::realMessageBytes(fixtureName);
}
