// PNG files in and out of host pictures (where the host has the gd library).
#pragma once

#include <string>

#include "refhost/model/pictures.h"

namespace refhost {

class Host;

// Reads a PNG of any kind (gray, palette, 16-bit, alpha) into a new picture made to `setup`,
// whose size is taken from the file. Null, with the reason, when it can't be read.
Picture* LoadPng(Host& host, const std::string& path, PictureSetup setup, std::string* error);

// Writes any picture as a PNG with alpha.
bool SavePng(const Picture& picture, const std::string& path, std::string* error);

}  // namespace refhost
