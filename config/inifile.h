#pragma once

// A small in-memory INI document: sections of "name=value" keys. Both families, wide (CIniFileW,
// the one the service configuration uses) and narrow (CIniFileA), are one template over the
// character type, so their rules cannot drift apart:
// - section and key names are trimmed of blanks, tabs, CR and LF when added, and are unique
//   regardless of ASCII case ("LogMode" and "logmode" are one key; the first spelling stays);
// - Save writes sections and keys in case-insensitive order, not in the order they were read;
// - the wide family's file on disk is UTF-8: Load(path) converts line by line with ca::u8u16 (an
//   invalid sequence becomes U+FFFD), Save(path) writes ca::u16u8. The narrow family keeps bytes.
#include <istream>
#include <memory>
#include <ostream>
#include <set>
#include <string>

// ci_less_t orders names by their characters with ASCII letters folded to lower case, compared as
// unsigned values. Deliberate: only ASCII folds, so the host's locale never decides which names are
// one name, and both families agree on UTF-8 text.
template <typename Ch>
struct ci_less_t {
    bool operator()(const std::basic_string<Ch>& a, const std::basic_string<Ch>& b) const;
};
using ci_less_w = ci_less_t<wchar_t>;
using ci_less_a = ci_less_t<char>;

template <typename Ch>
class CIniSectionT;
template <typename Ch>
class CIniFileT;

// SIniNameLess orders owned sections or keys by name (ci_less_t) and finds them by a bare name.
template <typename T>
struct SIniNameLess {
    using is_transparent = void;
    using Ch = typename T::CharType;
    using String = std::basic_string<Ch>;
    bool operator()(const std::unique_ptr<T>& a, const std::unique_ptr<T>& b) const {
        return ci_less_t<Ch>()(a->_name, b->_name);
    }
    bool operator()(const std::unique_ptr<T>& a, const String& b) const {
        return ci_less_t<Ch>()(a->_name, b);
    }
    bool operator()(const String& a, const std::unique_ptr<T>& b) const {
        return ci_less_t<Ch>()(a, b->_name);
    }
};

// CIniKeyT is one "name=value" line of a section; its section owns it.
template <typename Ch>
class CIniKeyT {
public:
    using CharType = Ch;
    using String = std::basic_string<Ch>;

    CIniKeyT(CIniSectionT<Ch>* inSection, String inName) : section(inSection), _name(std::move(inName)) {}
    CIniKeyT(const CIniKeyT&) = delete;
    CIniKeyT& operator=(const CIniKeyT&) = delete;

    const String& GetKeyName() const { return _name; }
    // SetKeyName renames the key within its section; false when the trimmed name is empty or
    // another key of the section has it.
    bool SetKeyName(const String& name);
    const String& GetValue() const { return _value; }
    void SetValue(const String& value) { _value = value; }

    CIniSectionT<Ch>* const section;  // borrowed back pointer

private:
    friend class CIniSectionT<Ch>;
    friend struct SIniNameLess<CIniKeyT>;
    String _name;
    String _value;
};

// CIniSectionT is a named, ordered set of unique keys; its file owns it.
template <typename Ch>
class CIniSectionT {
public:
    using CharType = Ch;
    using String = std::basic_string<Ch>;
    using Key = CIniKeyT<Ch>;
    using KeySet = std::set<std::unique_ptr<Key>, SIniNameLess<Key>>;

    CIniSectionT(CIniFileT<Ch>* inFile, String inName) : file(inFile), _name(std::move(inName)) {}
    CIniSectionT(const CIniSectionT&) = delete;
    CIniSectionT& operator=(const CIniSectionT&) = delete;

    // AddKey returns the key of that name (trimmed), creating it with an empty value when missing.
    // Deliberate: null for a name that trims to nothing, since no line could read it back.
    Key* AddKey(const String& name);
    // GetKey returns the key of that name (trimmed, any ASCII case), or null.
    Key* GetKey(const String& name) const;
    const KeySet& GetKeys() const { return _keys; }
    // GetKeyValue returns the key's value, empty when there is no such key.
    String GetKeyValue(const String& name) const;
    // SetKeyValue adds the key when missing and sets its value; false for an empty name.
    bool SetKeyValue(const String& name, const String& value);
    // RenameKey gives a key a new name; false when it is missing or the new name is empty or taken.
    bool RenameKey(const String& oldName, const String& newName);
    void RemoveKey(const String& name);
    void RemoveKey(Key* key);
    void RemoveAllKeys() { _keys.clear(); }
    const String& GetSectionName() const { return _name; }
    // SetSectionName renames the section within its file; false when another section has the name.
    bool SetSectionName(const String& name);

    CIniFileT<Ch>* const file;  // borrowed back pointer

private:
    friend class CIniFileT<Ch>;
    friend struct SIniNameLess<CIniSectionT>;
    String _name;
    KeySet _keys;
};

// CIniFileT is the document: an ordered set of unique sections.
template <typename Ch>
class CIniFileT {
public:
    using CharType = Ch;
    using String = std::basic_string<Ch>;
    using Section = CIniSectionT<Ch>;
    using Key = CIniKeyT<Ch>;
    using SectionSet = std::set<std::unique_ptr<Section>, SIniNameLess<Section>>;

    CIniFileT() = default;
    CIniFileT(const CIniFileT&) = delete;
    CIniFileT& operator=(const CIniFileT&) = delete;

    // Load reads the file at path (at most ca::kMaxTextFileBytes, regular files only); false when it
    // cannot be read, the document then unchanged. Without merge every section goes first; with merge
    // what is read is added to, or updates, what is there. Malformed lines are skipped, never fatal.
    bool Load(const String& path, bool merge = false);
    void Load(std::basic_istream<Ch>& input, bool merge = false);
    // LoadFromBytes reads text as Load(path) reads a file's bytes (UTF-8 for the wide family). A
    // leading UTF-8 byte-order mark is dropped: editors on other systems add one.
    void LoadFromBytes(const std::string& bytes, bool merge = false);

    // Save writes "[name]" lines, each followed by its "name=value" lines, sections apart by a blank
    // line, every line ending in "\n". False when the file or stream could not be written.
    bool Save(const String& path) const;
    bool Save(std::basic_ostream<Ch>& output) const;
    // SaveToBytes is the text Save(path) writes.
    std::string SaveToBytes() const;

    // AddSection returns the section of that name (trimmed), creating it when missing.
    Section* AddSection(const String& name);
    // GetSection returns the section of that name (trimmed, any ASCII case), or null.
    Section* GetSection(const String& name) const;
    const SectionSet& GetSections() const { return _sections; }
    void RemoveSection(const String& name);
    void RemoveSection(Section* section);
    void RemoveAllSections() { _sections.clear(); }
    // RenameSection gives a section a new name; false when it is missing or the name is taken.
    bool RenameSection(const String& oldName, const String& newName);
    // GetKeyValue returns the value of key in section, empty when either is missing.
    String GetKeyValue(const String& section, const String& key) const;
    // SetKeyValue adds the section and key when missing and sets the value; false for an empty key.
    bool SetKeyValue(const String& section, const String& key, const String& value);
    bool RenameKey(const String& section, const String& oldName, const String& newName);

private:
    void _LoadLine(String line, Section*& current);

    SectionSet _sections;
};

// CIniMergeT lets a stream extraction merge into a document: input >> CIniMergeW(file).
template <typename Ch>
class CIniMergeT {
public:
    explicit CIniMergeT(CIniFileT<Ch>& inFile) : file(inFile) {}
    CIniFileT<Ch>& file;
};

// "input >> file" loads (replacing what the document held); "output << file" saves.
template <typename Ch>
std::basic_istream<Ch>& operator>>(std::basic_istream<Ch>& input, CIniFileT<Ch>& file) {
    file.Load(input, false);
    return input;
}
template <typename Ch>
std::basic_istream<Ch>& operator>>(std::basic_istream<Ch>& input, CIniMergeT<Ch> merge) {
    merge.file.Load(input, true);
    return input;
}
template <typename Ch>
std::basic_ostream<Ch>& operator<<(std::basic_ostream<Ch>& output, const CIniFileT<Ch>& file) {
    file.Save(output);
    return output;
}

using CIniFileW = CIniFileT<wchar_t>;
using CIniSectionW = CIniSectionT<wchar_t>;
using CIniKeyW = CIniKeyT<wchar_t>;
using CIniMergeW = CIniMergeT<wchar_t>;
using CIniFileA = CIniFileT<char>;
using CIniSectionA = CIniSectionT<char>;
using CIniKeyA = CIniKeyT<char>;
using CIniMergeA = CIniMergeT<char>;

extern template struct ci_less_t<char>;
extern template struct ci_less_t<wchar_t>;
extern template class CIniKeyT<char>;
extern template class CIniKeyT<wchar_t>;
extern template class CIniSectionT<char>;
extern template class CIniSectionT<wchar_t>;
extern template class CIniFileT<char>;
extern template class CIniFileT<wchar_t>;
