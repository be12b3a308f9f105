#pragma once

// The pieces every everyday command shares, in one include: argument checks, file input and output,
// what is printed, building one request, and the module session with its answer.
#include "base/Json.h"
#include "base/Modes.h"
#include "ses/CCertificateCollection.h"
#include "tools/sestool/Arguments.h"
#include "tools/sestool/Files.h"
#include "tools/sestool/ModuleHost.h"
#include "tools/sestool/ModuleSession.h"
#include "tools/sestool/Options.h"
#include "tools/sestool/Output.h"
#include "tools/sestool/ReplyJson.h"
#include "tools/sestool/RequestJson.h"
