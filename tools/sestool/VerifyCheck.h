#pragma once

// Checking FILE/SIGNATURE pairs through one module session: the single pair of "sestool verify"
// and the batches of "verify --batch LIST" or several pairs.
#include <string>

#include "tools/sestool/ModuleSession.h"
#include "tools/sestool/Options.h"
#include "tools/sestool/ReplyJson.h"

namespace sestool {

// kNotChecked: the module read the signature but gave no verdict (NotCheckedReason says why);
// kUnchecked: it could not be asked or answered an error (the problems were reported).
enum class EVerdict { kValid, kInvalid, kNotChecked, kUnchecked };

// CVerifyProblems hears why a pair could not be checked. For a single pair each problem is printed
// at once ("sestool verify: TEXT", or "sestool: MESSAGE (code N)" for the module's answer); for a
// batch the problems are kept as one text for the file's line.
class CVerifyProblems {
public:
    explicit CVerifyProblems(bool print) : _print(print) {}
    void Tool(const std::string& text);
    void Module(const SModuleReply& reply);
    // Note keeps text for a batch line; a single pair's problem was already printed elsewhere.
    void Note(const std::string& text);
    // Take returns the text kept so far and forgets it.
    std::string Take();

private:
    bool _print;
    std::string _text;
};

// CVerifier checks pairs through one module, loaded when the first pair gets as far as the module.
class CVerifier {
public:
    explicit CVerifier(const SParsedArgs& parsed) : _parsed(parsed) {}

    // Prepare reads "--chunk-size"; false (printed) when it is no size.
    bool Prepare() { return _session.ReadChunkSize(_parsed); }
    // Check asks the module whether file holds the data signaturePath signed. The answer stays in
    // reply (its first "signInfo" entry is FirstSignInfo). moduleFailed tells that the module could
    // not be loaded, which ends a batch.
    EVerdict Check(const std::string& file, const std::string& signaturePath, CVerifyProblems& problems,
                   SModuleReply& reply);
    bool ModuleFailed() const { return _moduleFailed; }

private:
    const SParsedArgs& _parsed;
    CModuleSession _session{"verify"};
    bool _opened = false;
    bool _moduleFailed = false;
};

// NotCheckedReason says why a kNotChecked answer carries no verdict.
std::string NotCheckedReason(const ca::JsonValue& info);

// FirstSignInfo is the first entry of the answer's "signInfo" list, or null.
const ca::JsonValue* FirstSignInfo(const SModuleReply& reply);

// RunVerifyBatch checks the pairs given on the command line and then those of "--batch LIST",
// printing one line per file; returns the exit status of the whole batch.
int RunVerifyBatch(const SParsedArgs& parsed);

}  // namespace sestool
