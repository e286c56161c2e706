// Restores the process locale however a test ends, so a test may switch
// to a German locale to prove the files do not follow it.
#pragma once

#include <clocale>
#include <string>

class LocaleGuard {
public:
    LocaleGuard() : saved_(std::setlocale(LC_ALL, nullptr)) {}
    ~LocaleGuard() { std::setlocale(LC_ALL, saved_.c_str()); }
    LocaleGuard(const LocaleGuard &) = delete;
    LocaleGuard &operator=(const LocaleGuard &) = delete;

private:
    std::string saved_;
};
