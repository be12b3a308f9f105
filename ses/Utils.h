#pragma once

#include <ctime>
#include <string>

// GetRandom concatenates the decimal texts of 1 + max(n, 0) random values in [0, RAND_MAX], drawn
// from a generator seeded once per process.
std::string GetRandom(int n);

// GetDateTimeString formats t as "%d.%m.%Y %T". tmIsUtc tells how t is to be read; toUtc chooses
// the zone of the text (UTC or the machine's local time).
std::wstring GetDateTimeString(const struct tm& t, bool toUtc, bool tmIsUtc);

// FormatDateTime formats a clock value as "%d.%m.%Y %T" in UTC or local time.
std::wstring FormatDateTime(time_t value, bool toUtc);

// NowDateTimeString formats the current time in UTC or local time.
std::wstring NowDateTimeString(bool toUtc);
