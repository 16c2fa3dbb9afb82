// SYS_StringBase driven through a sequence of operations chosen by the bytes, checked after every
// step against a plain std::string model wherever the operation is byte-wise (the code page is
// the single-byte default, where every operation is byte-wise).
#include <mortar/sys/SYS_StringBase.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace {

void Require(bool ok) {
    if (!ok) std::abort();
}

// Reads the fuzzer's bytes as a stream of small numbers and chunks.
class Input {
public:
    Input(uint8_t const* data, size_t size) : m_Data(data), m_Size(size) {}
    bool Done() const { return m_At >= m_Size; }
    int Byte() { return m_At < m_Size ? m_Data[m_At++] : 0; }
    int Position(int length) { return Byte() % (length + 5) - 2; } // -2 .. length + 2
    std::string Chunk() {
        int n = Byte() % 9;
        std::string s;
        for (int i = 0; i < n && !Done(); ++i) s.push_back(static_cast<char>(Byte()));
        return s;
    }

private:
    uint8_t const* m_Data;
    size_t m_Size;
    size_t m_At = 0;
};

std::string Terminated(std::string const& s) { return std::string(s.c_str()); }

bool Same(SYS_StringBase const& s, std::string const& model) {
    return s.GetLength() == static_cast<int>(model.size()) &&
           std::memcmp(s.GetString(), model.data(), model.size()) == 0 && s.GetString()[model.size()] == '\0';
}

bool Invalid(int pos, std::string const& model) { return pos < 0 || pos > static_cast<int>(model.size()); }

std::string ModelTrim(std::string const& model, std::string const& set, bool left) {
    auto trimmed = [&](unsigned char c) {
        if (c == 0) return false;
        return set.empty() ? std::isspace(c) != 0 : set.find(static_cast<char>(c)) != std::string::npos;
    };
    std::size_t b = 0, e = model.size();
    if (left)
        while (b < e && trimmed(static_cast<unsigned char>(model[b]))) ++b;
    else
        while (e > b && trimmed(static_cast<unsigned char>(model[e - 1]))) --e;
    return model.substr(b, e - b);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    Input in(data, size);
    SYS_StringBase s;
    std::string model;
    while (!in.Done()) {
        if (model.size() > 4096) {
            s.Empty();
            model.clear();
        }
        int const len = static_cast<int>(model.size());
        switch (in.Byte() % 18) {
        case 0: {
            std::string c = in.Chunk();
            s.Append(c.data(), static_cast<int>(c.size()));
            model += c;
            break;
        }
        case 1: {
            std::string c = in.Chunk();
            s += c.c_str();
            model += Terminated(c);
            break;
        }
        case 2: {
            int pos = in.Position(len);
            char c = static_cast<char>(in.Byte());
            try {
                s.Insert(pos, c);
                Require(!Invalid(pos, model));
                model.insert(static_cast<std::size_t>(pos), 1, c);
            } catch (std::out_of_range const& e) {
                Require(Invalid(pos, model) && std::strcmp(e.what(), "invalid string position") == 0);
            }
            break;
        }
        case 3: {
            int pos = in.Position(len);
            int count = in.Byte() % 12 - 3;
            try {
                s.Delete(pos, count);
                Require(!Invalid(pos, model));
                model.erase(static_cast<std::size_t>(pos), count < 0 ? std::string::npos : static_cast<std::size_t>(count));
            } catch (std::out_of_range const&) {
                Require(Invalid(pos, model));
            }
            break;
        }
        case 4: {
            char from = static_cast<char>(in.Byte() % 4 + 'a'), to = static_cast<char>(in.Byte() % 4 + 'a');
            int n = s.Replace(from, to);
            int expected = 0;
            if (from != to)
                for (char& c : model)
                    if (c == from) c = to, ++expected;
            Require(n == expected);
            break;
        }
        case 5: {
            std::string from = Terminated(in.Chunk()), to = Terminated(in.Chunk());
            int n = s.Replace(from.c_str(), to.c_str());
            int expected = 0;
            if (!from.empty() && from != to) {
                std::size_t at = 0;
                while ((at = model.find(from, at)) != std::string::npos) {
                    model.replace(at, from.size(), to);
                    at += to.size();
                    ++expected;
                }
            }
            Require(n == expected);
            break;
        }
        case 6: {
            char c = static_cast<char>(in.Byte() % 4 + 'a');
            int n = s.Remove(c);
            std::size_t before = model.size();
            model.erase(std::remove(model.begin(), model.end(), c), model.end());
            Require(n == static_cast<int>(before - model.size()));
            break;
        }
        case 7:
            if (in.Byte() & 1) {
                s.MakeUpper();
                for (char& c : model) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            } else {
                s.MakeLower();
                for (char& c : model) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            }
            break;
        case 8: {
            std::string set = Terminated(in.Chunk());
            bool left = in.Byte() & 1;
            if (left)
                s.TrimLeft(set.c_str());
            else
                s.TrimRight(set.c_str());
            model = ModelTrim(model, set, left);
            break;
        }
        case 9: {
            int pos = in.Position(len), count = in.Byte() % 12 - 3;
            try {
                SYS_StringBase piece = s.Mid(pos, count);
                Require(!Invalid(pos, model));
                std::string expected = model.substr(static_cast<std::size_t>(pos),
                                                    count < 0 ? std::string::npos : static_cast<std::size_t>(count));
                Require(Same(piece, Terminated(expected)));
            } catch (std::out_of_range const&) {
                Require(Invalid(pos, model));
            }
            break;
        }
        case 10: {
            int count = in.Byte() % 12 - 3;
            try {
                SYS_StringBase piece = s.Right(count);
                Require(count >= 0);
                std::size_t n = std::min<std::size_t>(static_cast<std::size_t>(count), model.size());
                Require(Same(piece, Terminated(model.substr(model.size() - n))));
            } catch (std::out_of_range const&) {
                Require(count < 0);
            }
            Require(Same(s.Left(count), Terminated(count < 0 ? model : model.substr(0, static_cast<std::size_t>(count)))));
            break;
        }
        case 11: {
            std::string what = Terminated(in.Chunk());
            int start = in.Position(len);
            int found = s.Find(what.c_str(), start);
            int expected = -1;
            if (start >= 0 && start <= len) {
                std::size_t at = model.find(what, static_cast<std::size_t>(start));
                expected = at == std::string::npos ? -1 : static_cast<int>(at);
            }
            Require(found == expected);
            char c = static_cast<char>(in.Byte() % 4 + 'a');
            std::size_t at = start >= 0 && start <= len ? model.find(c, static_cast<std::size_t>(start)) : std::string::npos;
            Require(s.Find(c, start) == (at == std::string::npos ? -1 : static_cast<int>(at)));
            break;
        }
        case 12: {
            int n = in.Byte() % 40;
            char* buffer = s.GetBufferSetLength(n);
            model.resize(static_cast<std::size_t>(n), '\0');
            Require(buffer != nullptr && Same(s, model));
            if (n > 0 && (in.Byte() & 1)) buffer[n / 2] = '\0', model[static_cast<std::size_t>(n / 2)] = '\0';
            s.ReleaseBuffer();
            model = Terminated(model);
            break;
        }
        case 13: {
            int pos = in.Position(len);
            char c = static_cast<char>(in.Byte());
            s.SetAt(pos, c);
            if (pos >= 0 && pos < len) model[static_cast<std::size_t>(pos)] = c;
            Require(s.GetAt(pos) == (pos >= 0 && pos < len ? model[static_cast<std::size_t>(pos)] : '\0'));
            break;
        }
        case 14: {
            std::size_t visible = std::strlen(model.c_str());
            std::size_t k = static_cast<std::size_t>(in.Byte()) % (visible + 1);
            s = s.GetString() + k;
            model = Terminated(model).substr(k);
            break;
        }
        case 15: {
            SYS_StringBase copy(s);
            copy.Append(copy);
            Require(Same(copy, model + model));
            s += s;
            model += Terminated(model);
            break;
        }
        case 16: {
            std::string other = Terminated(in.Chunk());
            int sign = s.Compare(other.c_str());
            int expected = std::strcmp(model.c_str(), other.c_str());
            Require((sign > 0) == (expected > 0) && (sign < 0) == (expected < 0));
            Require((s == other.c_str()) == (expected == 0));
            break;
        }
        default: {
            int pos = in.Position(len), count = in.Byte() % 12 - 3;
            std::string text = Terminated(in.Chunk());
            try {
                s.Replace(pos, count, text.c_str());
                Require(!Invalid(pos, model));
                model.erase(static_cast<std::size_t>(pos), count < 0 ? std::string::npos : static_cast<std::size_t>(count));
                model.insert(static_cast<std::size_t>(pos), text);
            } catch (std::out_of_range const&) {
                Require(Invalid(pos, model));
            }
            break;
        }
        }
        Require(Same(s, model));
    }
    return 0;
}
