#include "ini.h"

#include <fstream>
#include <sstream>

namespace orvsim {

namespace {

std::string trimmed(const std::string &text)
{
    const char *blanks = " \t\r\n";
    size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return {};
    size_t last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

} // namespace

const std::string *IniSection::find(const std::string &key) const
{
    for (const auto &entry : entries)
        if (entry.first == key)
            return &entry.second;
    return nullptr;
}

bool parse_ini(std::istream &in, IniDocument &doc, IniError &error)
{
    doc.sections.clear();
    error = IniError{};
    std::string raw;
    int line_number = 0;
    while (std::getline(in, raw)) {
        ++line_number;
        std::string line = trimmed(raw);
        if (line.empty() || line[0] == ';' || line[0] == '#')
            continue;
        if (line[0] == '[') {
            if (line.back() != ']') {
                error = {line_number, "section header without a closing ']'"};
                return false;
            }
            IniSection section;
            section.name = trimmed(line.substr(1, line.size() - 2));
            section.line = line_number;
            if (section.name.empty()) {
                error = {line_number, "empty section name"};
                return false;
            }
            doc.sections.push_back(section);
            continue;
        }
        size_t equals = line.find('=');
        if (equals == std::string::npos) {
            error = {line_number, "expected 'key = value'"};
            return false;
        }
        if (doc.sections.empty()) {
            error = {line_number, "a key before the first section"};
            return false;
        }
        std::string key = trimmed(line.substr(0, equals));
        if (key.empty()) {
            error = {line_number, "empty key"};
            return false;
        }
        doc.sections.back().entries.emplace_back(key, trimmed(line.substr(equals + 1)));
    }
    return true;
}

bool parse_ini_string(const std::string &text, IniDocument &doc, IniError &error)
{
    std::istringstream in(text);
    return parse_ini(in, doc, error);
}

bool parse_ini_file(const std::string &path, IniDocument &doc, IniError &error)
{
    std::ifstream in(path);
    if (!in) {
        doc.sections.clear();
        error = {0, "cannot open " + path};
        return false;
    }
    return parse_ini(in, doc, error);
}

} // namespace orvsim
