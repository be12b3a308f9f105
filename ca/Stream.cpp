#include "ca/Stream.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "ca/ErrorCodes.h"
#include "ca/Exception.h"

namespace ca {

void CSimpleStream::Stream(CryptPacket& packet, CancellationToken&) {
    std::lock_guard<std::mutex> guard(lock);
    auto* chunk = static_cast<FileData*>(packet.request.GetObject(kTypeFileData));
    if (chunk == nullptr) {
        throw Exception(kNoDataInArgs);
    }
    if (chunk->size != 0) {
        if (size + chunk->size > std::numeric_limits<uint32_t>::max()) {
            throw Exception(kBadData);  // the assembled payload would not fit a file-data record
        }
        if (assembled == nullptr) {
            assembled = std::move(chunk->data);  // the first chunk is adopted, not copied
        } else {
            void* grown = std::realloc(assembled.get(), size + chunk->size);
            if (grown == nullptr) {
                throw Exception(kExecutionError);
            }
            (void)assembled.release();
            assembled.reset(static_cast<uint8_t*>(grown));
            std::memcpy(assembled.get() + size, chunk->data.get(), chunk->size);
        }
        size += chunk->size;
    }
    chunk->data.reset();  // each chunk is freed as soon as its bytes are in the assembled block
    chunk->size = 0;
    if (packet.request.streamFinalChunk && size != 0) {
        chunk->data = std::move(assembled);
        chunk->size = static_cast<uint32_t>(size);
        size = 0;
    }
}

void CStreamArray::Stream(CryptPacket& packet, StreamType type, CancellationToken& token) {
    const std::shared_ptr<CStreamBase> stream = GetStream(packet.request.streamId, type);
    if (stream == nullptr) {
        throw Exception(kExecutionError);
    }
    packet.response.streamId = stream->id;
    stream->lastUsed.store(clock());
    stream->Stream(packet, token);
    if (packet.request.streamFinalChunk) {
        RemoveStream(packet.response.streamId);
    }
}

std::shared_ptr<CStreamBase> CStreamArray::_FindOrAdd(
    uint32_t id, const std::function<std::shared_ptr<CStreamBase>(uint32_t)>& make) {
    std::vector<std::shared_ptr<CStreamBase>> dropped;  // destroyed after the lock is released
    std::lock_guard<std::mutex> guard(lock);
    const uint32_t now = clock();
    if (static_cast<uint32_t>(now - lastSweep) > kSweepInterval) {
        lastSweep = now;
        const auto idle = std::stable_partition(streams.begin(), streams.end(), [now](const auto& s) {
            return s != nullptr && static_cast<uint32_t>(now - s->lastUsed.load()) <= kMaxIdle;
        });
        dropped.assign(std::make_move_iterator(idle), std::make_move_iterator(streams.end()));
        streams.erase(idle, streams.end());
    }
    if (id != 0) {
        for (const auto& stream : streams) {
            if (stream != nullptr && stream->id == id) {
                return stream;
            }
        }
    }
    // Ids come from the millisecond clock. Every open stream is compared, not only the last one:
    // several streams opened within one millisecond by different clients must never share an id.
    uint32_t newId = now;
    while (newId == 0 || std::any_of(streams.begin(), streams.end(), [newId](const auto& s) {
               return s != nullptr && s->id == newId;
           })) {
        ++newId;
    }
    std::shared_ptr<CStreamBase> stream = make(newId);
    if (stream != nullptr) {
        stream->lastUsed.store(now);
        streams.push_back(stream);
    }
    return stream;
}

void CStreamArray::RemoveStream(uint32_t id) {
    std::shared_ptr<CStreamBase> removed;  // destroyed after the lock is released
    std::lock_guard<std::mutex> guard(lock);
    for (auto it = streams.begin(); it != streams.end(); ++it) {
        if (*it != nullptr && (*it)->id == id) {
            removed = std::move(*it);
            streams.erase(it);
            break;
        }
    }
}

size_t CStreamArray::Count() const {
    std::lock_guard<std::mutex> guard(lock);
    return streams.size();
}

}  // namespace ca
