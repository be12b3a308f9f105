#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

// CTempHome creates a fresh directory, points HOME at it and restores the old HOME (and removes
// the directory) when it goes.
class CTempHome {
public:
    CTempHome();
    ~CTempHome();
    CTempHome(const CTempHome&) = delete;
    CTempHome& operator=(const CTempHome&) = delete;
    const std::string& Path() const { return _path; }

private:
    std::string _path;
    std::string _oldHome;
    bool _hadHome = false;
};

// SLogLine is one line the module handed to the host.
struct SLogLine {
    std::wstring text;
    bool isError;
    bool operator==(const SLogLine& other) const { return text == other.text && isError == other.isError; }
};

// PrintTo shows a log line readably in test failures.
void PrintTo(const SLogLine& line, std::ostream* out);

// CLogCapture collects log lines through CaptureLogLine, a callback with the host's signature.
class CLogCapture {
public:
    static bool CaptureLogLine(const wchar_t* text, bool isError);
    static std::vector<SLogLine> Take();  // returns and clears the lines so far
    static void Clear();
};

// SAnswer is a module response split at its NUL.
struct SAnswer {
    std::string json;
    std::vector<uint8_t> data;  // the bytes after the NUL that responseSize counts
    uint64_t responseSize = 0;
};

std::string ToHex(const std::vector<uint8_t>& bytes);
// B64 is the base64 text of a byte string.
std::string B64(const std::string& bytes);
std::vector<uint8_t> Bytes(const std::string& text);
