#include "ca/Stream.h"

#include <sys/random.h>

#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

#include "base/ErrorCodes.h"
#include "base/Exception.h"

namespace ca {

namespace {

// RandomStreamId draws a non-zero 31-bit id from the kernel's generator: ids of other clients'
// streams must not be predictable from one's own.
uint32_t RandomStreamId() {
    uint32_t value = 0;
    if (getrandom(&value, sizeof(value), 0) != static_cast<ssize_t>(sizeof(value))) {
        std::random_device device;
        value = device();
    }
    return value & 0x7FFFFFFFu;
}

}  // namespace

bool CStreamBudget::Take(uint64_t n) {
    uint64_t now = held.load();
    do {
        if (n > limit || now > limit - n) {
            return false;
        }
    } while (!held.compare_exchange_weak(now, now + n));
    return true;
}

CSimpleStream::~CSimpleStream() { budget->Give(size); }

void CSimpleStream::Stream(CryptPacket& packet, CancellationToken&) {
    std::lock_guard<std::mutex> guard(lock);
    auto* chunk = static_cast<FileData*>(packet.request.GetObject(kTypeFileData));
    if (chunk == nullptr) {
        throw Exception(kNoDataInArgs);
    }
    const uint32_t chunkSize = chunk->size;
    if (chunkSize != 0) {
        // The assembled payload must fit a file-data record, and all streams share one budget.
        if (size + chunkSize > std::numeric_limits<uint32_t>::max() || !budget->Take(chunkSize)) {
            throw Exception(kBadData);
        }
        try {
            if (assembled == nullptr) {
                assembled = chunk->TakeOwned();  // the first chunk is adopted (a borrowed one is copied)
            } else {
                void* grown = std::realloc(assembled.get(), size + chunkSize);
                if (grown == nullptr) {
                    throw Exception(kExecutionError);
                }
                (void)assembled.release();
                assembled.reset(static_cast<uint8_t*>(grown));
                std::memcpy(assembled.get() + size, chunk->Bytes(), chunkSize);
            }
        } catch (...) {
            budget->Give(chunkSize);
            throw;
        }
        size += chunkSize;
    }
    chunk->Reset();  // each chunk is freed as soon as its bytes are in the assembled block
    if (packet.request.streamFinalChunk && size != 0) {
        chunk->data = std::move(assembled);
        chunk->size = static_cast<uint32_t>(size);
        budget->Give(size);  // the call owns the payload now
        size = 0;
    }
}

void CStreamArray::Stream(CryptPacket& packet, StreamType type, CancellationToken& token) {
    const std::shared_ptr<CStreamBase> stream =
        GetStream(packet.request.streamId, type, packet.request.clientId);
    if (stream == nullptr) {
        throw Exception(kExecutionError);
    }
    packet.response.streamId = stream->id;
    stream->lastUsed.store(sweep.Now());
    // A final chunk ends its stream whether or not the chunk could be taken.
    struct SCloser {
        CStreamArray* array;
        uint32_t id;
        ~SCloser() {
            if (array != nullptr) {
                array->RemoveStream(id);
            }
        }
    } closer{packet.request.streamFinalChunk ? this : nullptr, stream->id};
    stream->Stream(packet, token);
}

std::shared_ptr<CStreamBase> CStreamArray::_Erase(
    std::unordered_map<uint32_t, std::shared_ptr<CStreamBase>>::iterator it) {
    std::shared_ptr<CStreamBase> removed = std::move(it->second);
    streams.erase(it);
    const auto count = openByClient.find(removed->owner);
    if (count != openByClient.end() && --count->second == 0) {
        openByClient.erase(count);
    }
    return removed;
}

std::shared_ptr<CStreamBase> CStreamArray::_FindOrAdd(
    uint32_t id, const std::wstring& owner,
    const std::function<std::shared_ptr<CStreamBase>(uint32_t)>& make) {
    std::vector<std::shared_ptr<CStreamBase>> dropped;  // destroyed after the lock is released
    std::lock_guard<std::mutex> guard(lock);
    const uint32_t now = sweep.Now();
    if (sweep.Due(now)) {
        for (auto it = streams.begin(); it != streams.end();) {
            auto next = std::next(it);
            if (CIdleSweep::IsIdle(now, it->second->lastUsed.load())) {
                dropped.push_back(_Erase(it));
            }
            it = next;
        }
    }
    if (id != 0) {
        if (const auto found = streams.find(id); found != streams.end()) {
            if (found->second->owner != owner) {
                throw Exception(kIncorrectParameters);
            }
            return found->second;
        }
    }
    size_t& open = openByClient[owner];
    if (open >= kMaxStreamsPerClient) {
        throw Exception(kIncorrectParameters);
    }
    uint32_t newId = RandomStreamId();
    while (newId == 0 || streams.count(newId) != 0) {
        newId = RandomStreamId();
    }
    std::shared_ptr<CStreamBase> stream = make(newId);
    if (stream == nullptr) {
        if (open == 0) {
            openByClient.erase(owner);
        }
        return nullptr;
    }
    stream->owner = owner;
    stream->lastUsed.store(now);
    streams.emplace(newId, stream);
    ++open;
    return stream;
}

void CStreamArray::RemoveStream(uint32_t id) {
    std::shared_ptr<CStreamBase> removed;  // destroyed after the lock is released
    std::lock_guard<std::mutex> guard(lock);
    if (const auto found = streams.find(id); found != streams.end()) {
        removed = _Erase(found);
    }
}

size_t CStreamArray::Count() const {
    std::lock_guard<std::mutex> guard(lock);
    return streams.size();
}

}  // namespace ca
