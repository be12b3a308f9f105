#include "config/PKIConfigFileParser.h"

#include "base/Encode.h"
#include "base/FileUtil.h"
#include "base/Lng.h"
#include "base/SpecialFolder.h"

namespace ca {

namespace {

constexpr char kLogMode[] = "LogMode";
constexpr char kLogFileName[] = "LogFileName";
constexpr char kHttpPort[] = "HttpPort";
constexpr char kLanguage[] = "Language";

void TakeInt(const JsonValue& object, const char* name, int& out) {
    const auto it = object.FindMember(name);
    if (it != object.MemberEnd() && it->value.IsInt()) {
        out = it->value.GetInt();
    }
}

void TakeText(const JsonValue& object, const char* name, std::wstring& out) {
    const auto it = object.FindMember(name);
    if (it != object.MemberEnd() && it->value.IsString()) {
        out = u8u16(it->value.GetString(), it->value.GetStringLength());
    }
}

template <typename Writer>
void WriteText(Writer& writer, const char* name, const std::wstring& text) {
    writer.Key(name);
    const std::string utf8 = u16u8(text);
    writer.String(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
}

template <typename Writer>
void WriteFields(const PKIConfigFileParser& config, Writer& writer) {
    writer.StartObject();
    writer.Key(kLogMode);
    writer.Int(config.logMode);
    WriteText(writer, kLogFileName, config.logFileName);
    writer.Key(kHttpPort);
    writer.Int(config.httpPort);
    WriteText(writer, kLanguage, config.language);
    writer.EndObject();
}

}  // namespace

void PKIConfigFileParser::ClearAll() {
    logMode = 0;
    logFileName = L"OruPKISvc.log";
    httpPort = 18503;
    language = L"Ru";
    configDir = GetConfigDir();
}

std::wstring PKIConfigFileParser::GetConfigDir() {
    return u8u16(GetSpecialFolder(ConfigType::kUser)) + L"/OruPKISvc";
}

std::wstring PKIConfigFileParser::GetConfigPath() { return GetConfigDir() + L"/OruPKISvcConfig.json"; }

void PKIConfigFileParser::FromJson(const JsonValue& value) {
    if (!value.IsObject()) {
        return;
    }
    TakeInt(value, kLogMode, logMode);
    TakeText(value, kLogFileName, logFileName);
    TakeInt(value, kHttpPort, httpPort);
    TakeText(value, kLanguage, language);
}

void PKIConfigFileParser::ToJson(JsonWriter& writer) const { WriteFields(*this, writer); }

void PKIConfigFileParser::ToPrettyJson(rapidjson::PrettyWriter<rapidjson::StringBuffer>& writer) const {
    WriteFields(*this, writer);
}

bool PKIConfigFileParser::ReadConfig() { return ParseConfigFile(); }

bool PKIConfigFileParser::ParseConfigFile() {
    ClearAll();
    std::string text;
    if (!FileToString(u16u8(GetConfigPath()), text)) {
        return false;
    }
    rapidjson::Document document;
    try {
        ParseJson(document, text.data(), text.size());
    } catch (const Exception&) {
        return false;  // a broken file leaves the defaults
    }
    if (!document.IsObject()) {
        return false;
    }
    FromJson(document);
    SetVALKOLng(language.c_str());
    return true;
}

bool PKIConfigFileParser::WriteConfig() const {
    if (!TryCreateDir(u16u8(GetConfigDir()))) {
        return false;
    }
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
    ToPrettyJson(writer);
    return StringToFile(u16u8(GetConfigPath()), std::string(buffer.GetString(), buffer.GetSize()) + "\n");
}

}  // namespace ca
