#include "config/inifile.h"

#include <cstdint>
#include <sstream>
#include <type_traits>

#include "base/Encode.h"
#include "base/FileUtil.h"

namespace {

// SIniText converts between a family's strings and the bytes of its files.
template <typename Ch>
struct SIniText;

template <>
struct SIniText<char> {
    static std::string FromBytes(const char* bytes, size_t size) { return std::string(bytes, size); }
    static std::string ToBytes(const std::string& text) { return text; }
    static std::string Path(const std::string& path) { return path; }
};

template <>
struct SIniText<wchar_t> {
    static std::wstring FromBytes(const char* bytes, size_t size) { return ca::u8u16(bytes, size); }
    static std::string ToBytes(const std::wstring& text) { return ca::u16u8(text); }
    static std::string Path(const std::wstring& path) { return ca::u16u8(path); }
};

template <typename Ch>
bool IsOneOf(Ch c, const char* set) {
    for (; *set != '\0'; ++set) {
        if (c == static_cast<Ch>(*set)) {
            return true;
        }
    }
    return false;
}

constexpr char kNameBlanks[] = " \t\n\r";  // trimmed off names on both sides
constexpr char kLineStart[] = " \t";       // dropped at the start of a line
constexpr char kLineEnd[] = "\n\r";        // dropped at the end of a line

template <typename Ch>
std::basic_string<Ch> TrimName(const std::basic_string<Ch>& name) {
    size_t first = 0;
    size_t last = name.size();
    while (first < last && IsOneOf(name[first], kNameBlanks)) {
        ++first;
    }
    while (last > first && IsOneOf(name[last - 1], kNameBlanks)) {
        --last;
    }
    return name.substr(first, last - first);
}

// Folded is the character's unsigned value with ASCII upper case letters made lower case.
template <typename Ch>
uint32_t Folded(Ch c) {
    const auto value = static_cast<uint32_t>(static_cast<std::make_unsigned_t<Ch>>(c));
    return value >= 'A' && value <= 'Z' ? value + ('a' - 'A') : value;
}

}  // namespace

template <typename Ch>
bool ci_less_t<Ch>::operator()(const std::basic_string<Ch>& a, const std::basic_string<Ch>& b) const {
    const size_t n = a.size() < b.size() ? a.size() : b.size();
    for (size_t i = 0; i < n; ++i) {
        const uint32_t x = Folded(a[i]);
        const uint32_t y = Folded(b[i]);
        if (x != y) {
            return x < y;
        }
    }
    return a.size() < b.size();
}

template <typename Ch>
bool CIniKeyT<Ch>::SetKeyName(const String& name) {
    return section->RenameKey(_name, name);
}

template <typename Ch>
CIniKeyT<Ch>* CIniSectionT<Ch>::AddKey(const String& name) {
    String trimmed = TrimName(name);
    if (trimmed.empty()) {
        return nullptr;
    }
    const auto found = _keys.find(trimmed);
    if (found != _keys.end()) {
        return found->get();
    }
    return _keys.insert(std::make_unique<Key>(this, std::move(trimmed))).first->get();
}

template <typename Ch>
CIniKeyT<Ch>* CIniSectionT<Ch>::GetKey(const String& name) const {
    const auto found = _keys.find(TrimName(name));
    return found == _keys.end() ? nullptr : found->get();
}

template <typename Ch>
typename CIniSectionT<Ch>::String CIniSectionT<Ch>::GetKeyValue(const String& name) const {
    const Key* key = GetKey(name);
    return key == nullptr ? String() : key->GetValue();
}

template <typename Ch>
bool CIniSectionT<Ch>::SetKeyValue(const String& name, const String& value) {
    Key* key = AddKey(name);
    if (key == nullptr) {
        return false;
    }
    key->SetValue(value);
    return true;
}

template <typename Ch>
bool CIniSectionT<Ch>::RenameKey(const String& oldName, const String& newName) {
    String trimmed = TrimName(newName);
    const auto found = _keys.find(TrimName(oldName));
    if (trimmed.empty() || found == _keys.end()) {
        return false;
    }
    const auto taken = _keys.find(trimmed);
    if (taken != _keys.end() && taken != found) {
        return false;
    }
    // The name orders the set: take the key out, rename it, put it back.
    auto node = _keys.extract(found);
    node.value()->_name = std::move(trimmed);
    _keys.insert(std::move(node));
    return true;
}

template <typename Ch>
void CIniSectionT<Ch>::RemoveKey(const String& name) {
    const auto found = _keys.find(TrimName(name));
    if (found != _keys.end()) {
        _keys.erase(found);
    }
}

template <typename Ch>
void CIniSectionT<Ch>::RemoveKey(Key* key) {
    if (key != nullptr && key->section == this) {
        RemoveKey(key->GetKeyName());
    }
}

template <typename Ch>
bool CIniSectionT<Ch>::SetSectionName(const String& name) {
    return file->RenameSection(_name, name);
}

template <typename Ch>
CIniSectionT<Ch>* CIniFileT<Ch>::AddSection(const String& name) {
    String trimmed = TrimName(name);
    const auto found = _sections.find(trimmed);
    if (found != _sections.end()) {
        return found->get();
    }
    return _sections.insert(std::make_unique<Section>(this, std::move(trimmed))).first->get();
}

template <typename Ch>
CIniSectionT<Ch>* CIniFileT<Ch>::GetSection(const String& name) const {
    const auto found = _sections.find(TrimName(name));
    return found == _sections.end() ? nullptr : found->get();
}

template <typename Ch>
void CIniFileT<Ch>::RemoveSection(const String& name) {
    const auto found = _sections.find(TrimName(name));
    if (found != _sections.end()) {
        _sections.erase(found);
    }
}

template <typename Ch>
void CIniFileT<Ch>::RemoveSection(Section* section) {
    if (section != nullptr && section->file == this) {
        RemoveSection(section->GetSectionName());
    }
}

template <typename Ch>
bool CIniFileT<Ch>::RenameSection(const String& oldName, const String& newName) {
    String trimmed = TrimName(newName);
    const auto found = _sections.find(TrimName(oldName));
    if (found == _sections.end()) {
        return false;
    }
    const auto taken = _sections.find(trimmed);
    if (taken != _sections.end() && taken != found) {
        return false;
    }
    auto node = _sections.extract(found);
    node.value()->_name = std::move(trimmed);
    _sections.insert(std::move(node));
    return true;
}

template <typename Ch>
typename CIniFileT<Ch>::String CIniFileT<Ch>::GetKeyValue(const String& section, const String& key) const {
    const Section* found = GetSection(section);
    return found == nullptr ? String() : found->GetKeyValue(key);
}

template <typename Ch>
bool CIniFileT<Ch>::SetKeyValue(const String& section, const String& key, const String& value) {
    if (TrimName(key).empty()) {
        return false;  // no empty section left behind for a key that cannot exist
    }
    return AddSection(section)->SetKeyValue(key, value);
}

template <typename Ch>
bool CIniFileT<Ch>::RenameKey(const String& section, const String& oldName, const String& newName) {
    Section* found = GetSection(section);
    return found != nullptr && found->RenameKey(oldName, newName);
}

template <typename Ch>
void CIniFileT<Ch>::_LoadLine(String line, Section*& current) {
    size_t first = 0;
    size_t last = line.size();
    while (first < last && IsOneOf(line[first], kLineStart)) {
        ++first;
    }
    // Deliberate: trailing blanks stay, they may belong to a value.
    while (last > first && IsOneOf(line[last - 1], kLineEnd)) {
        --last;
    }
    if (first == last) {
        return;
    }
    line = line.substr(first, last - first);

    if (line[0] == static_cast<Ch>('[')) {
        size_t end = line.size();
        while (end > 0 && IsOneOf(line[end - 1], kNameBlanks)) {
            --end;
        }
        if (end > 1 && line[end - 1] == static_cast<Ch>(']')) {
            // Deliberate: the name is the line without its first and last character, so blanks
            // after the "]" keep the "]" in the name ("[Sec] " opens "Sec]").
            current = AddSection(line.substr(1, line.size() - 2));
            return;
        }
    }
    // Any other line is a key when it has an "=" past its first character and a section is open;
    // "#" lines without "=" (comments) and "[Sec" lines fall out here.
    const size_t equals = line.find(static_cast<Ch>('='));
    if (equals == String::npos || equals == 0 || current == nullptr) {
        return;
    }
    Key* key = current->AddKey(line.substr(0, equals));
    if (key != nullptr) {
        key->SetValue(line.substr(equals + 1));  // as it stands: "Key = 1" gives " 1"
    }
}

template <typename Ch>
void CIniFileT<Ch>::Load(std::basic_istream<Ch>& input, bool merge) {
    if (!merge) {
        RemoveAllSections();
    }
    Section* current = nullptr;
    String line;
    while (std::getline(input, line)) {
        _LoadLine(line, current);
    }
}

template <typename Ch>
void CIniFileT<Ch>::LoadFromBytes(const std::string& bytes, bool merge) {
    if (!merge) {
        RemoveAllSections();
    }
    static constexpr char kBom[] = "\xEF\xBB\xBF";
    size_t start = bytes.compare(0, 3, kBom) == 0 ? 3 : 0;
    Section* current = nullptr;
    // Split the bytes before converting: a broken sequence then never swallows a line end.
    while (start < bytes.size()) {
        size_t end = bytes.find('\n', start);
        if (end == std::string::npos) {
            end = bytes.size();
        }
        _LoadLine(SIniText<Ch>::FromBytes(bytes.data() + start, end - start), current);
        start = end + 1;
    }
}

template <typename Ch>
bool CIniFileT<Ch>::Load(const String& path, bool merge) {
    std::string bytes;
    if (!ca::FileToString(SIniText<Ch>::Path(path), bytes)) {
        return false;
    }
    LoadFromBytes(bytes, merge);
    return true;
}

template <typename Ch>
bool CIniFileT<Ch>::Save(std::basic_ostream<Ch>& output) const {
    bool firstSection = true;
    for (const auto& section : _sections) {
        if (!firstSection) {
            output << static_cast<Ch>('\n');
        }
        firstSection = false;
        output << static_cast<Ch>('[') << section->GetSectionName() << static_cast<Ch>(']')
               << static_cast<Ch>('\n');
        for (const auto& key : section->GetKeys()) {
            output << key->GetKeyName() << static_cast<Ch>('=') << key->GetValue() << static_cast<Ch>('\n');
        }
    }
    return static_cast<bool>(output);
}

template <typename Ch>
std::string CIniFileT<Ch>::SaveToBytes() const {
    std::basic_ostringstream<Ch> text;
    Save(text);
    return SIniText<Ch>::ToBytes(text.str());
}

template <typename Ch>
bool CIniFileT<Ch>::Save(const String& path) const {
    return ca::StringToFile(SIniText<Ch>::Path(path), SaveToBytes());
}

template struct ci_less_t<char>;
template struct ci_less_t<wchar_t>;
template class CIniKeyT<char>;
template class CIniKeyT<wchar_t>;
template class CIniSectionT<char>;
template class CIniSectionT<wchar_t>;
template class CIniFileT<char>;
template class CIniFileT<wchar_t>;
