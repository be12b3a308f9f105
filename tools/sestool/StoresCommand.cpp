#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"

namespace sestool {

const char kStoresHelp[] =
    "Usage: sestool stores [--json] [--module PATH] [-v]\n"
    "\n"
    "Lists the certificate stores the module offers (EnumStore, mode 37) and the store it uses\n"
    "for this client now (GetCurStore, mode 47), with its location and address when it has any.\n"
    "\n"
    "Options:\n"
    "  --json          print {\"stores\":[...],\"storeAddresses\":[...]}, the records of the two\n"
    "                  answers, instead of the text\n"
    "  --module PATH   load PATH, not the module sestool finds (sestool --version)\n"
    "  -v, --verbose   print the module's log lines on standard error\n"
    "  -h, --help      show this help\n"
    "\n"
    "Exit status: 0 listed; 1 the module answered an error; 2 usage error, an answer without its\n"
    "list, or the module could not be loaded.\n"
    "\n"
    "Example:\n"
    "  sestool stores\n";

namespace {

constexpr const char* kCommand = "stores";

// SStoreQuery is one of the two questions: its mode and the array its answer must carry.
struct SStoreQuery {
    uint32_t mode;
    const char* key;
};
constexpr SStoreQuery kQueries[] = {{ca::kModeEnumStore, "stores"}, {ca::kModeGetCurStore, "storeAddresses"}};

// StoreAddressText is "NAME", followed by "(location L, address A)" for the parts that are set.
std::string StoreAddressText(const ca::JsonValue& address) {
    std::string text = TextMember(&address, "name");
    std::string parts;
    for (const char* key : {"location", "address"}) {
        const std::string value = TextMember(&address, key);
        if (!value.empty()) {
            parts += (parts.empty() ? "" : ", ") + std::string(key) + " " + value;
        }
    }
    if (text.empty()) {
        text = "(no name)";
    }
    return parts.empty() ? text : text + " (" + parts + ")";
}

void PrintList(const char* title, const ca::JsonValue& list, bool addresses) {
    std::printf("%s\n", title);
    if (list.Empty()) {
        std::printf("  (none)\n");
    }
    for (const auto& entry : list.GetArray()) {
        const std::string text =
            addresses ? StoreAddressText(entry) : (entry.IsString() ? entry.GetString() : "(not a name)");
        std::printf("  %s\n", Printable(text).c_str());
    }
}

}  // namespace

int RunStores(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    const std::vector<SOptionSpec> options = WithModuleOptions({{"--json", nullptr, false}});
    if (!ParseCommandLine(kCommand, args, options, {0, 0, "no arguments"}, parsed)) {
        return kExitUsage;
    }
    CModuleSession session(kCommand);
    if (!session.Open(parsed)) {
        return kExitUsage;
    }
    SModuleReply replies[std::size(kQueries)];
    for (size_t i = 0; i < std::size(kQueries); ++i) {
        CRequestJson request(kQueries[i].mode);
        if (!session.Call(request, replies[i])) {
            return kExitUsage;
        }
        if (replies[i].errorCode != 0) {
            PrintModuleError(replies[i]);
            return kExitFailed;
        }
        const ca::JsonValue* list = Member(&replies[i].document, kQueries[i].key);
        if (list == nullptr || !list->IsArray()) {
            PrintError(kCommand, std::string("the module answered without \"") + kQueries[i].key + "\"");
            return kExitUsage;
        }
    }
    const ca::JsonValue& stores = *Member(&replies[0].document, kQueries[0].key);
    const ca::JsonValue& current = *Member(&replies[1].document, kQueries[1].key);
    if (parsed.Has("--json")) {
        rapidjson::Document both(rapidjson::kObjectType);
        auto& allocator = both.GetAllocator();
        both.AddMember("stores", ca::JsonValue(stores, allocator), allocator);
        both.AddMember("storeAddresses", ca::JsonValue(current, allocator), allocator);
        WriteJson(both);
        return kExitOk;
    }
    PrintList("Stores of the module:", stores, false);
    PrintList("Current store of this client:", current, true);
    return kExitOk;
}

}  // namespace sestool
