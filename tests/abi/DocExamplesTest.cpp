// The worked examples of docs/PROTOCOL.md, run in document order through one module: each answer
// must be the one the document shows, so the document cannot drift from the module.
//
// Masking rule: what differs from run to run is compared as "*": the values of the keys in
// kMaskedKeys, wherever they occur, and the SignId and SignTimeUTC texts inside a signature
// container, be it raw bytes or a base64 string that decodes to "<SES". All else is compared as
// compact JSON (key order included) or byte for byte. A "streamId" in a request stands for the id
// the module answered where the document shows that number.
#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include "base/Encode.h"
#include "base/FileUtil.h"
#include "ses/SesContainer.h"
#include "tests/support/HostModule.h"

namespace {

constexpr const char* kMaskedKeys[] = {"SignId",  "SignTime",   "SignTimeUTC", "ValidFrom",   "ValidFromUTC",
                                       "ValidTo", "ValidToUTC", "streamId",    "fileDataSize"};

// SExample is one request of the document with what follows it: raw bytes, answer, answer's bytes.
struct SExample {
    size_t line;
    bool remote;
    std::string request, requestData, response, responseData;
};

// Examples reads the fenced blocks "json request [remote]", "text data", "json response" and
// "text data" in that order; a block's text ends before its last line end.
std::vector<SExample> Examples() {
    std::ifstream in(SES_PROTOCOL_DOC);
    std::vector<SExample> examples;
    std::string line, info, text;
    size_t number = 0, expected = 0;  // expected: 0 request, 1 request data or response, 2 response data
    for (bool inBlock = false; std::getline(in, line);) {
        ++number;
        if (line.rfind("```", 0) != 0) {
            text += inBlock ? line + "\n" : "";
            continue;
        }
        inBlock = !inBlock;
        if (inBlock) {
            info = line.substr(3);
            text.clear();
            continue;
        }
        text.erase(text.empty() ? 0 : text.size() - 1);
        if (info.rfind("json request", 0) == 0) {
            examples.push_back({number, info == "json request remote", text, {}, {}, {}});
            expected = 1;
        } else if (info == "json response" && expected == 1) {
            examples.back().response = text;
            expected = 2;
        } else if (info == "text data" && expected != 0) {
            (expected == 1 ? examples.back().requestData : examples.back().responseData) = text;
            expected = expected == 1 ? 1 : 0;
        } else if (info == "json response" || info == "text data") {
            ADD_FAILURE() << "PROTOCOL.md:" << number << ": a " << info << " block out of place";
        }
    }
    return examples;
}

void Mask(ca::JsonValue& value, rapidjson::Document::AllocatorType& allocator) {
    if (value.IsArray()) {
        for (ca::JsonValue& item : value.GetArray()) {
            Mask(item, allocator);
        }
    } else if (value.IsObject()) {
        for (auto& member : value.GetObject()) {
            const auto isKey = [&member](const char* key) { return member.name == key; };
            if (std::any_of(std::begin(kMaskedKeys), std::end(kMaskedKeys), isKey)) {
                member.value.SetString("*");
            } else {
                Mask(member.value, allocator);
            }
        }
    } else if (value.IsString()) {
        ca::MallocPtr bytes;
        uint32_t size = 0;
        if (CodeOf([&] { ca::Base64Decode(value.GetString(), bytes, size); }) == 0 && size > 4 &&
            std::string(reinterpret_cast<const char*>(bytes.get()), 4) == "<SES") {
            const std::string text = Masked(std::string(reinterpret_cast<const char*>(bytes.get()), size));
            value.SetString(text.data(), static_cast<rapidjson::SizeType>(text.size()), allocator);
        }
    }
}

// Normalised is the compact, masked JSON of an answer (or the text itself when it is no JSON).
std::string Normalised(const std::string& json) {
    rapidjson::Document document;
    document.Parse(json.c_str());
    if (document.HasParseError()) {
        return "not JSON: " + json;
    }
    Mask(document, document.GetAllocator());
    return Json(document);
}

std::string Member(const std::string& json, const char* key) {
    rapidjson::Document document;
    document.Parse(json.c_str());
    return !document.HasParseError() && document.IsObject() && document.HasMember(key) ? Json(document[key])
                                                                                       : "";
}

class DocExamples : public ::testing::Test {
protected:
    // The one certificate the examples sign with, as "sestool cert new" writes it.
    void SetUp() override {
        const std::string folder = home.Path() + "/.config/VALKO/SesCertificates/";
        ASSERT_TRUE(ca::TryCreateDir(folder));
        CSesContainer document;
        document.certificate = std::make_unique<CSesCert>();
        document.certificate->ID = L"ivanov";
        document.certificate->Surname = L"Ivanov";
        document.certificate->GivenName = L"Ivan";
        document.certificate->Organization = L"Example Ltd";
        document.certificate->Email = L"ivan@example.org";
        std::ofstream(folder + "ivanov.ses", std::ios::binary) << document.Print();
        host = std::make_unique<CHostModule>();
        ASSERT_NE(host->module, nullptr);
        examples = Examples();
        ASSERT_GT(examples.size(), 30u);
    }

    CTempHome home;
    std::unique_ptr<CHostModule> host;
    std::vector<SExample> examples;
};

TEST_F(DocExamples, EveryExampleAnswersAsShown) {
    std::map<std::string, std::string> streamIds;  // the document's id -> the module's
    for (const SExample& example : examples) {
        SCOPED_TRACE("PROTOCOL.md:" + std::to_string(example.line) + ": " + example.request.substr(0, 100));
        std::string request = example.request;
        for (const auto& [shown, real] : streamIds) {
            if (const size_t at = request.find("\"streamId\":" + shown); at != std::string::npos) {
                request.replace(at + 11, shown.size(), real);
            }
        }
        const SAnswer answer = host->Call(WithNul(request) + example.requestData, !example.remote);
        EXPECT_EQ(Normalised(answer.json), Normalised(example.response));
        const std::string data(answer.data.begin(), answer.data.end());
        EXPECT_EQ(Masked(data), Masked(example.responseData));
        const bool dataFollows = answer.responseSize > answer.json.size();
        EXPECT_EQ(Member(answer.json, "fileDataSize"), dataFollows ? std::to_string(data.size()) : "");
        if (const std::string id = Member(example.response, "streamId"); !id.empty()) {
            streamIds[id] = Member(answer.json, "streamId");
        }
    }
}

// A mode the module answers (a "test" probe finds every method) has an example in the document.
TEST_F(DocExamples, EveryModeHasAnExample) {
    std::set<unsigned> shown;
    for (const SExample& example : examples) {
        if (const std::string mode = Member(example.request, "mode"); !mode.empty()) {
            shown.insert(static_cast<unsigned>(std::stoul(mode)));
        }
    }
    for (unsigned mode = 0; mode < 100; ++mode) {
        const std::string probe = host->Ask(R"({"test":true,"mode":)" + std::to_string(mode) + "}");
        EXPECT_TRUE(Member(probe, "errorCode") == "16303" || shown.count(mode) != 0) << "mode " << mode;
    }
}

}  // namespace
