// Lets calls on files fail at a test's word, where no file system of this machine does. The linker leads the calls here
// (--wrap).
#pragma once

#include <functional>
#include <string>

namespace vantrel::testing {

struct FileFaults {
    bool hasNamelessFiles = true; // O_TMPFILE; FAT and most network file systems have none
    int copyError = 0;            // of sendfile(2)
    std::string unreadable;       // the path of a file that every read(2) fails on
    std::function<int(const char* to)> linkError = [](const char*) { return 0; };

    void clear() { *this = FileFaults(); }
};

FileFaults& fileFaults();

} // namespace vantrel::testing
