#include "ses/StreamArray.h"

#include "base/ErrorCodes.h"

void CStreamHash::Stream(ca::CryptPacket& packet, CancellationToken&) {
    std::lock_guard<std::mutex> guard(lock);
    auto* chunk = static_cast<ca::FileData*>(packet.request.GetObject(ca::kTypeFileData));
    if (chunk == nullptr) {
        throw ca::Exception(ca::kNoDataInArgs);
    }
    hash.Compute(chunk->Bytes(), chunk->size);
    chunk->Reset();
    if (packet.request.streamFinalChunk) {
        const std::string text(hash.GetValue(), hash.GetValueLength());
        packet.response.SetObject(
            std::make_unique<ca::FileData>(reinterpret_cast<const uint8_t*>(text.data()),
                                           static_cast<uint32_t>(text.size())),
            true);
    }
}

std::shared_ptr<ca::CStreamBase> CStreamArray::GetStream(uint32_t id, ca::StreamType type,
                                                         const std::wstring& owner) {
    CSesModule* parent = module;
    const std::shared_ptr<ca::CStreamBudget> shared = budget;
    return _FindOrAdd(id, owner, [type, parent, shared](uint32_t newId) -> std::shared_ptr<ca::CStreamBase> {
        switch (type) {
            case ca::StreamType::kSimple:
                return std::make_shared<ca::CSimpleStream>(newId, shared);
            case ca::StreamType::kHash:
                return std::make_shared<CStreamHash>(parent, newId);
            case ca::StreamType::kEncode:
            case ca::StreamType::kDecode:
                break;
        }
        return nullptr;
    });
}
