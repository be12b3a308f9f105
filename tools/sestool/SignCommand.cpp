#include <cstdio>
#include <string>
#include <vector>

#include "base/ErrorCodes.h"
#include "tools/sestool/CommandSupport.h"
#include "tools/sestool/Commands.h"

namespace sestool {

const char kSignHelp[] =
    "Usage: sestool sign --cert ID [--attached] [--comment TEXT] [--uri URI] [--chunk-size N] FILE\n"
    "                    [-o OUT]\n"
    "\n"
    "Signs FILE with the certificate ID (Sign, mode 14; the file travels as raw bytes behind the\n"
    "request) and writes the signature container, an \"SES\" XML document, to OUT. The default OUT\n"
    "is FILE.sig.xml; OUT \"-\" is standard output (the summary then goes to standard error). An\n"
    "existing OUT is replaced in one step, once the new container is complete: killed midway,\n"
    "sestool leaves the old file whole. OUT must be a regular file (a FIFO or device is refused); a\n"
    "symbolic link there is replaced itself, what it points to stays as it was. FILE \"-\" reads\n"
    "standard input and then needs -o.\n"
    "\n"
    "A FILE larger than 32 MiB is sent in chunks of 8 MiB (StreamSign, mode 53), read one chunk at\n"
    "a time; the signature is the same as in one call. A progress line is drawn on standard error\n"
    "when it is a terminal. The module assembles the chunks in one block, so FILE must be smaller\n"
    "than 4 GiB.\n"
    "\n"
    "Options:\n"
    "  --cert ID        the signer's certificate (see \"sestool certs\"); required\n"
    "  --attached       put the data itself into the container (base64 in \"Attached\"); such a\n"
    "                   container cannot be checked with \"sestool verify\"\n"
    "  --comment TEXT   free text kept in the container's \"Comment\"\n"
    "  --uri URI        a reference kept in the container's \"URI\"\n"
    "  -o, --out OUT    where to write the container; \"-\" for standard output\n"
    "  --chunk-size N   send chunks of N bytes (suffix K, M or G; 1 to 1G), and stream FILE\n"
    "                   whenever it is larger than one chunk\n"
    "  --module PATH    load PATH, not the module sestool finds (sestool --version)\n"
    "  -v, --verbose    print the module's log lines on standard error (and no progress line)\n"
    "  -h, --help       show this help\n"
    "\n"
    "Exit status: 0 signed; 1 the module answered an error (an unknown certificate is \"NEED\",\n"
    "code 16104); 2 usage error, FILE unreadable or too large (4 GiB and more), OUT not writable,\n"
    "or the module could not be loaded.\n"
    "\n"
    "Example:\n"
    "  sestool sign --cert ivanov --comment \"approved\" report.pdf\n";

namespace {

constexpr const char* kCommand = "sign";

const std::vector<SOptionSpec> kSignOptions = WithModuleOptions(WithChunkSizeOption({
    {"--cert", nullptr, true},
    {"--attached", nullptr, false},
    {"--comment", nullptr, true},
    {"--uri", nullptr, true},
    {"--out", "-o", true},
}));

}  // namespace

int RunSign(const std::vector<std::string>& args) {
    SParsedArgs parsed;
    if (!ParseCommandLine(kCommand, args, kSignOptions, {1, 1, "one FILE"}, parsed)) {
        return kExitUsage;
    }
    const std::string& file = parsed.positional[0];
    const std::string certId = parsed.Value("--cert");
    if (certId.empty()) {
        PrintError(kCommand, "--cert ID is required; \"sestool certs\" lists the certificates");
        return kExitUsage;
    }
    if (file == "-" && !parsed.Has("--out")) {
        PrintError(kCommand, "signing standard input needs -o OUT");
        return kExitUsage;
    }
    const std::string out = parsed.Has("--out") ? parsed.Value("--out") : file + ".sig.xml";
    const bool attached = parsed.Has("--attached");

    CModuleSession session(kCommand);
    if (!session.ReadChunkSize(parsed)) {
        return kExitUsage;
    }
    CInputFile input;
    std::string error;
    if (!input.Open(file, error)) {
        PrintError(kCommand, error);
        return kExitUsage;
    }
    if (!session.Open(parsed)) {
        return kExitUsage;
    }
    CRequestJson request(ca::kModeSign);
    request.Text("senderCertId", certId);
    if (parsed.Has("--comment")) {
        request.Text("comment", parsed.Value("--comment"));
    }
    if (parsed.Has("--uri")) {
        request.Text("uri", parsed.Value("--uri"));
    }
    if (attached) {
        request.Flag("isAttached", true);
    }
    SModuleReply reply;
    if (!session.CallWithData(request, input, reply)) {
        return kExitUsage;
    }
    if (reply.errorCode != 0) {
        PrintModuleError(reply);
        if (reply.errorCode == ca::kNeedCert) {
            PrintError(kCommand, "no certificate '" + certId + "' in " + CertificateFolder() +
                                     "; \"sestool certs\" lists the certificates, \"sestool cert new\" "
                                     "creates one");
        }
        return kExitFailed;
    }
    if (!reply.hasData) {
        PrintError(kCommand, "the module answered without a signature container");
        return kExitUsage;
    }
    if (!WriteOutputFile(out, reply.data.data(), reply.data.size(), 0666, true, error)) {
        PrintError(kCommand, error);
        return kExitUsage;
    }
    // With the container on standard output the summary must not mix into it.
    std::fprintf(out == "-" ? stderr : stdout,
                 "Signed %s with certificate %s (%s signature).\nSignature written to %s\n",
                 file == "-" ? "standard input" : file.c_str(), certId.c_str(),
                 attached ? "attached" : "detached", out == "-" ? "standard output" : out.c_str());
    return kExitOk;
}

}  // namespace sestool
