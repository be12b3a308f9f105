#pragma once

#include <map>
#include <string>

#include "base/Lng.h"

// oidAndMessageDef maps a dotted OID to the message that describes it (built once, never changed).
const std::map<std::wstring, ValkoMessage>& oidAndMessageDef();

// GetOidDescription returns the description of a dotted OID in the current language; message 508
// ("Unknown OID") when the OID is absent or maps to 0.
const wchar_t* GetOidDescription(const std::wstring& oid);
