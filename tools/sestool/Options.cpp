#include "tools/sestool/Options.h"

namespace sestool {

std::string SParsedArgs::Value(const std::string& name) const {
    auto it = options.find(name);
    return it == options.end() ? std::string() : it->second;
}

namespace {

const SOptionSpec* FindSpec(const std::vector<SOptionSpec>& accepted, const std::string& name) {
    for (const auto& option : accepted) {
        if (name == option.name || (option.shortName != nullptr && name == option.shortName)) {
            return &option;
        }
    }
    return nullptr;
}

}  // namespace

bool ParseOptions(const std::vector<std::string>& args, const std::vector<SOptionSpec>& accepted,
                  SParsedArgs& out, std::string& error) {
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            out.positional.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        std::string name = arg;
        std::string inlineValue;
        bool hasInlineValue = false;
        const size_t eq = arg.find('=');
        if (arg.compare(0, 2, "--") == 0 && eq != std::string::npos) {
            name = arg.substr(0, eq);
            inlineValue = arg.substr(eq + 1);
            hasInlineValue = true;
        }
        const SOptionSpec* option = FindSpec(accepted, name);
        if (option == nullptr) {
            error = "unknown option '" + name + "'";
            return false;
        }
        if (!option->takesValue) {
            if (hasInlineValue) {
                error = "option '" + name + "' takes no value";
                return false;
            }
            out.options[option->name] = std::string();
            continue;
        }
        if (hasInlineValue) {
            out.options[option->name] = inlineValue;
        } else if (i + 1 < args.size()) {
            out.options[option->name] = args[++i];
        } else {
            error = "option '" + name + "' needs a value";
            return false;
        }
    }
    return true;
}

}  // namespace sestool
