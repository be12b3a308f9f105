#pragma once

namespace ca {

// InstallModuleRecords lends the envelope what the layers above it define: the configuration
// records (types 11 and 12) and the HTTP client. Every module calls it when it is constructed.
void InstallModuleRecords();

}  // namespace ca
