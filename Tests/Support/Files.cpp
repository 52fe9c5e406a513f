#include "Support/Files.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <stdlib.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

fs::path newDirectory() {
    std::string name = fs::temp_directory_path() / "veilpane-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot create " + name);
    }
    return name;
}

} // namespace

std::string contentOf(const fs::path& file) {
    std::ostringstream content;
    content << std::ifstream(file, std::ios::binary).rdbuf();
    return content.str();
}

void writeScript(const fs::path& file, const std::string& commands) {
    std::ofstream(file) << "#!/bin/sh\n" << commands << "\n";
    fs::permissions(file, fs::perms::owner_all);
}

TemporaryDirectory::TemporaryDirectory() : path_(newDirectory()) {}

TemporaryDirectory::~TemporaryDirectory() {
    fs::remove_all(path_);
}
