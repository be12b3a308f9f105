/* mod_ses.h: the C interface of libmod_ses.so.1, the simple-electronic-signature module.
 *
 * A host loads the library, calls CM_Init once, passes each JSON request in a CMPacket to
 * CM_ProcessClientRequest and releases the module with CM_Free. The module never throws across
 * these functions. */
#ifndef MOD_SES_H
#define MOD_SES_H

#include <stdint.h>

#ifdef __cplusplus
#include <cstddef>
#else
#include <stdbool.h>
#include <stddef.h>
#endif

#if defined(__GNUC__)
#define CM_EXPORT __attribute__((visibility("default")))
#else
#define CM_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* CMPacket is allocated by the host. The module reads request/requestLength/isLocal and writes
 * response/responseSize. The request buffer is only read, never written (it may be read-only memory),
 * and only during the call: raw file bytes are used in place, not copied, so the host keeps the buffer
 * unchanged until CM_ProcessClientRequest returns. The response is one malloc'ed buffer: the JSON
 * answer, a NUL and, when the answer carries "fileDataSize", that many raw bytes. responseSize counts
 * JSON + NUL + data when data follows, and only the JSON bytes otherwise. The host releases it with
 * free(). */
typedef struct CMPacket {
    uint64_t reserved[2];   /* the host's own words; the module never touches them */
    const char* request;    /* UTF-8 JSON, optionally NUL + raw file bytes */
    uint32_t requestLength; /* bytes in request */
    bool isLocal;           /* request came from this machine: opens the private-key methods */
    char* response;         /* set by the module, freed by the host */
    uint64_t responseSize;  /* set by the module */
} CMPacket;

/* The host's log sink: text is one line without time stamp or line end. */
typedef bool (*CMLogCallback)(const wchar_t* text, bool isError);

/* CM_Init creates a module. serviceMode suppresses desktop message boxes. Returns null on failure.
 * Each module keeps its own log callback and message language: several modules may live in one
 * process without redirecting each other's lines. */
CM_EXPORT void* CM_Init(bool serviceMode, CMLogCallback logCallback);

/* CM_ProcessClientRequest answers one request; null arguments are ignored. Calls may run
 * concurrently on any threads, also with the same "clientId". */
CM_EXPORT void CM_ProcessClientRequest(void* module, CMPacket* packet);

/* CM_Free destroys a module created by CM_Init; null is ignored. It waits for the calls of this
 * module still in flight; the host must not start new ones once CM_Free was called. */
CM_EXPORT void CM_Free(void* module);

#ifdef __cplusplus
}
#endif

#endif /* MOD_SES_H */
