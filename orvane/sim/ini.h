// A small INI reader for cell descriptions: sections, key = value lines,
// ';' or '#' comments.  It reports the line and the reason of the first
// error, and it reads the same from a path, a stream or a string.
#pragma once

#include <istream>
#include <string>
#include <utility>
#include <vector>

namespace orvsim {

struct IniSection {
    std::string name;
    int line = 0;
    std::vector<std::pair<std::string, std::string>> entries;

    // The value of key, or nullptr when the section has none.
    const std::string *find(const std::string &key) const;
};

struct IniDocument {
    std::vector<IniSection> sections;
};

struct IniError {
    int line = 0; // line of the first error; 0 when it concerns the whole file
    std::string reason;
};

bool parse_ini(std::istream &in, IniDocument &doc, IniError &error);
bool parse_ini_string(const std::string &text, IniDocument &doc, IniError &error);
bool parse_ini_file(const std::string &path, IniDocument &doc, IniError &error);

} // namespace orvsim
