#include "ses/SesContainer.h"

#include <tinyxml.h>

#include "base/ErrorCodes.h"
#include "base/Exception.h"
#include "ses/SesXml.h"

void CSesContainer::ToXml(TiXmlElement* root) const {
    if (certificate != nullptr) {
        auto* element = new TiXmlElement("Certificate");
        root->LinkEndChild(element);
        certificate->ToXml(element);
    }
    if (signature != nullptr) {
        auto* element = new TiXmlElement("EDS");
        root->LinkEndChild(element);
        signature->ToXml(element);
    }
}

void CSesContainer::FromXml(const TiXmlElement* root) {
    if (const TiXmlElement* element = root->FirstChildElement("Certificate"); element != nullptr) {
        certificate = std::make_unique<CSesCert>();
        certificate->FromXml(element);
    }
    if (const TiXmlElement* element = root->FirstChildElement("EDS"); element != nullptr) {
        signature = std::make_unique<CSesSignature>();
        signature->FromXml(element);
    }
}

std::string CSesContainer::Print() const {
    TiXmlDocument document;
    auto* root = new TiXmlElement("SES");
    root->SetAttribute("Version", "1.0");
    document.LinkEndChild(root);
    ToXml(root);
    TiXmlPrinter printer;
    printer.SetIndent("    ");
    printer.SetLineBreak("\n");
    document.Accept(&printer);
    return printer.Str();
}

std::unique_ptr<CSesContainer> CSesContainer::Parse(const char* text, size_t length) {
    TiXmlDocument document;
    if (!ParseXmlDocument(text, length, document)) {
        throw ca::Exception(ca::kFileOperationError);
    }
    const TiXmlElement* root = document.FirstChildElement("SES");
    if (root == nullptr) {
        throw ca::Exception(ca::kFileOperationError);
    }
    auto container = std::make_unique<CSesContainer>();
    container->FromXml(root);
    return container;
}
