// A decimal comma for LC_NUMERIC, for the suites that check that numeric text does not follow the
// process's locale.
#ifndef MORTAR_TESTS_SUPPORT_COMMA_LOCALE_H
#define MORTAR_TESTS_SUPPORT_COMMA_LOCALE_H

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace mortar_test {

// Sets LC_NUMERIC to a German or French locale for its lifetime: an installed one, or a German one
// built with localedef into a temporary folder. Active() is false when neither is possible, or
// when the C library still writes a point under it. The destructor sets LC_NUMERIC back to "C".
class CommaLocale {
public:
    CommaLocale() {
        for (char const* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "fr_FR.utf8"}) {
            if (std::setlocale(LC_NUMERIC, name) != nullptr) {
                Check();
                return;
            }
        }
        char dir[] = "/tmp/mortar_locale_XXXXXX";
        if (mkdtemp(dir) == nullptr) return;
        m_Built = dir;
        std::string const command = "localedef -i de_DE -f UTF-8 " + (m_Built / "de_DE.UTF-8").string() + " 2>/dev/null";
        if (std::system(command.c_str()) == -1) return;
        setenv("LOCPATH", dir, 1);
        if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr) Check();
    }
    ~CommaLocale() {
        std::setlocale(LC_NUMERIC, "C");
        if (m_Built.empty()) return;
        unsetenv("LOCPATH");
        std::filesystem::remove_all(m_Built);
    }
    CommaLocale(CommaLocale const&) = delete;
    CommaLocale& operator=(CommaLocale const&) = delete;

    bool Active() const { return m_Active; }

private:
    void Check() {
        char text[8];
        std::snprintf(text, sizeof text, "%.1f", 1.5);
        m_Active = std::string(text) == "1,5";
    }

    std::filesystem::path m_Built;
    bool m_Active = false;
};

} // namespace mortar_test

#endif
