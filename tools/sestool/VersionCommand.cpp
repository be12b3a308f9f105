// "sestool --version": the tool's version and the module it would load. The module exports only its
// three entry points, so its file tells the rest: the path, the SONAME and the version suffix.
#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tools/sestool/Arguments.h"
#include "tools/sestool/Commands.h"
#include "tools/sestool/ModuleHost.h"
#include "tools/sestool/Output.h"

#ifndef SES_VERSION
#define SES_VERSION "unknown"
#endif

namespace sestool {

const char kVersionHelp[] =
    "Usage: sestool --version [--module PATH]\n"
    "\n"
    "Prints the version of sestool and which module it loads: the library file, its SONAME and\n"
    "the version in the file's name (libmod_ses.so.1.0.0 is 1.0.0). The module is not started.\n"
    "\n"
    "Options:\n"
    "  --module PATH   report PATH instead of the module sestool finds itself\n"
    "  -h, --help      show this help\n"
    "\n"
    "Exit status: 0 printed; 2 usage error, or the module could not be loaded.\n";

namespace {

struct LibraryCloser {
    void operator()(void* library) const noexcept { dlclose(library); }
};

// SonameOf reads DT_SONAME from a loaded object's dynamic section. glibc relocates the section's
// addresses in place on most targets but not on all (MIPS, RISC-V): an address below the load
// address is still an offset.
std::string SonameOf(const link_map& map) {
    ElfW(Addr) strtab = 0;
    const ElfW(Dyn)* soname = nullptr;
    for (const ElfW(Dyn)* entry = map.l_ld; entry != nullptr && entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_STRTAB) {
            strtab = entry->d_un.d_ptr;
        } else if (entry->d_tag == DT_SONAME) {
            soname = entry;
        }
    }
    if (strtab == 0 || soname == nullptr) {
        return "(none)";
    }
    if (strtab < map.l_addr) {
        strtab += map.l_addr;
    }
    // The dynamic section holds addresses as integers; there is no pointer to start from.
    return reinterpret_cast<const char*>(strtab) + soname->d_un.d_val;  // NOLINT(performance-no-int-to-ptr)
}

// FileVersion is what follows ".so." in a library's file name: "1.0.0" for libmod_ses.so.1.0.0.
std::string FileVersion(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    const size_t so = name.find(".so.");
    return so == std::string::npos ? "unknown" : name.substr(so + 4);
}

}  // namespace

int RunVersion(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    if (!ParseCommandLine("--version", args, {{"--module", nullptr, true}}, {0, 0, "no arguments"}, parsed)) {
        return kExitUsage;
    }
    const std::string path =
        parsed.Has("--module") ? parsed.Value("--module") : CModuleHost::DefaultModulePath();
    const std::unique_ptr<void, LibraryCloser> library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    link_map* map = nullptr;
    if (library == nullptr || dlinfo(library.get(), RTLD_DI_LINKMAP, &map) != 0 || map == nullptr) {
        const char* why = dlerror();
        PrintError("--version", std::string("sestool " SES_VERSION ", but the module does not load: ") +
                                    (why != nullptr ? why : path));
        return kExitUsage;
    }
    for (const char* entry : {"CM_Init", "CM_ProcessClientRequest", "CM_Free"}) {
        if (dlsym(library.get(), entry) == nullptr) {
            PrintError("--version",
                       "sestool " SES_VERSION ", but " + path + " is no module: it has no " + entry);
            return kExitUsage;
        }
    }
    char resolved[PATH_MAX];
    const std::string file = realpath(map->l_name, resolved) != nullptr ? resolved : map->l_name;
    std::printf("sestool %s\nmodule: %s\nmodule SONAME: %s\nmodule version: %s\n", SES_VERSION,
                Printable(file).c_str(), Printable(SonameOf(*map)).c_str(),
                Printable(FileVersion(file)).c_str());
    return kExitOk;
}

}  // namespace sestool
