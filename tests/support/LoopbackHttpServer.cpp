#include "tests/support/LoopbackHttpServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>

namespace {

// A client that sends nothing for this long is dropped.
constexpr int kIdleMs = 10000;
constexpr size_t kMaxHeaderBytes = size_t{64} * 1024;
constexpr size_t kMaxBodyBytes = size_t{256} << 20;

struct SReason {
    int status;
    const char* text;
};
constexpr SReason kReasons[] = {
    {100, "Continue"},
    {200, "OK"},
    {201, "Created"},
    {204, "No Content"},
    {301, "Moved Permanently"},
    {302, "Found"},
    {303, "See Other"},
    {307, "Temporary Redirect"},
    {308, "Permanent Redirect"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {411, "Length Required"},
    {413, "Payload Too Large"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
};

const char* ReasonPhrase(int status) {
    for (const SReason& r : kReasons) {
        if (r.status == status) {
            return r.text;
        }
    }
    return "Status";
}

std::string Lower(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

std::string Trim(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

int BindLoopback(bool listening, int& port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        throw std::runtime_error("loopback server: socket() failed");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    socklen_t length = sizeof(address);
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        (listening && listen(fd, 16) != 0) ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        close(fd);
        throw std::runtime_error("loopback server: cannot bind 127.0.0.1");
    }
    port = ntohs(address.sin_port);
    return fd;
}

}  // namespace

std::string CLoopbackHttpServer::SRequest::Header(const std::string& name) const {
    const auto found = headers.find(Lower(name));
    return found == headers.end() ? std::string() : found->second;
}

CLoopbackHttpServer::CLoopbackHttpServer(Handler handler) : _handler(std::move(handler)) {
    _listener = BindLoopback(true, _port);
    int wake[2];
    if (pipe2(wake, O_CLOEXEC | O_NONBLOCK) != 0) {
        close(_listener);
        throw std::runtime_error("loopback server: pipe2() failed");
    }
    _wakeRead = wake[0];
    _wakeWrite = wake[1];
    _thread = std::thread([this] { _Run(); });
}

CLoopbackHttpServer::~CLoopbackHttpServer() {
    _stopping = true;
    // The byte is never read: the pipe stays readable and every later wait ends at once.
    const char byte = 1;
    while (write(_wakeWrite, &byte, 1) < 0 && errno == EINTR) {
    }
    _thread.join();
    close(_listener);
    close(_wakeRead);
    close(_wakeWrite);
}

std::string CLoopbackHttpServer::Url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(_port) + path;
}

std::vector<CLoopbackHttpServer::SRequest> CLoopbackHttpServer::Requests() const {
    std::lock_guard<std::mutex> lock(_mutex);
    return _requests;
}

bool CLoopbackHttpServer::_Wait(int fd, short events, int timeoutMs) const {
    pollfd fds[2] = {{fd, events, 0}, {_wakeRead, POLLIN, 0}};
    const nfds_t count = fd >= 0 ? 2 : 1;
    pollfd* first = fd >= 0 ? fds : fds + 1;
    for (;;) {
        const int ready = poll(first, count, timeoutMs);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0 || _stopping) {
            return false;
        }
        return fd >= 0 && fds[0].revents != 0;
    }
}

void CLoopbackHttpServer::_Run() {
    while (!_stopping) {
        if (!_Wait(_listener, POLLIN, -1)) {
            continue;
        }
        const int connection = accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) {
            continue;
        }
        _Serve(connection);
        close(connection);
    }
}

bool CLoopbackHttpServer::_SendAll(int connection, const std::string& bytes) const {
    size_t sent = 0;
    while (sent < bytes.size()) {
        if (!_Wait(connection, POLLOUT, kIdleMs)) {
            return false;
        }
        const ssize_t n =
            send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        if (n <= 0) {
            return false;  // the client went away (it may abort an oversize answer on purpose)
        }
        sent += static_cast<size_t>(n);
    }
    return true;
}

// _ReadRequest reads one request. false: nothing to answer (client gone, stopping, time-out), or,
// with refusal set, a status to answer without calling the handler.
bool CLoopbackHttpServer::_ReadRequest(int connection, SRequest& request, int& refusal) const {
    std::string data;
    char chunk[16384];
    const auto readMore = [&]() {
        if (!_Wait(connection, POLLIN, kIdleMs)) {
            return false;
        }
        const ssize_t n = recv(connection, chunk, sizeof(chunk), MSG_DONTWAIT);
        if (n < 0 && (errno == EINTR || errno == EAGAIN)) {
            return true;
        }
        if (n <= 0) {
            return false;
        }
        data.append(chunk, static_cast<size_t>(n));
        return true;
    };
    size_t headerEnd;
    while ((headerEnd = data.find("\r\n\r\n")) == std::string::npos) {
        if (data.size() > kMaxHeaderBytes) {
            refusal = 400;
            return false;
        }
        if (!readMore()) {
            return false;
        }
    }
    const std::string head = data.substr(0, headerEnd);
    data.erase(0, headerEnd + 4);

    size_t lineEnd = head.find("\r\n");
    const std::string requestLine = head.substr(0, lineEnd);
    const size_t space1 = requestLine.find(' ');
    const size_t space2 = requestLine.rfind(' ');
    if (space1 == std::string::npos || space2 == space1) {
        refusal = 400;
        return false;
    }
    request.method = requestLine.substr(0, space1);
    request.path = requestLine.substr(space1 + 1, space2 - space1 - 1);
    while (lineEnd != std::string::npos) {
        const size_t start = lineEnd + 2;
        lineEnd = head.find("\r\n", start);
        const std::string line =
            head.substr(start, lineEnd == std::string::npos ? std::string::npos : lineEnd - start);
        const size_t colon = line.find(':');
        if (colon != std::string::npos) {
            request.headers[Lower(Trim(line.substr(0, colon)))] = Trim(line.substr(colon + 1));
        }
    }

    if (!request.Header("transfer-encoding").empty()) {
        refusal = 501;
        return false;
    }
    size_t length = 0;
    const std::string lengthText = request.Header("content-length");
    if (!lengthText.empty()) {
        char* end = nullptr;
        errno = 0;
        const unsigned long long value = std::strtoull(lengthText.c_str(), &end, 10);
        if (errno != 0 || *end != '\0' || lengthText[0] == '-') {
            refusal = 400;
            return false;
        }
        if (value > kMaxBodyBytes) {
            refusal = 413;
            return false;
        }
        length = static_cast<size_t>(value);
    }
    if (length > data.size() && Lower(request.Header("expect")) == "100-continue" &&
        !_SendAll(connection, "HTTP/1.1 100 Continue\r\n\r\n")) {
        return false;
    }
    while (data.size() < length) {
        if (!readMore()) {
            return false;
        }
    }
    data.resize(length);
    request.body = std::move(data);
    return true;
}

void CLoopbackHttpServer::_Serve(int connection) {
    SRequest request;
    int refusal = 0;
    SReply reply;
    if (_ReadRequest(connection, request, refusal)) {
        {
            std::lock_guard<std::mutex> lock(_mutex);
            _requests.push_back(request);
        }
        try {
            reply = _handler(request);
        } catch (const std::exception& e) {
            reply = SReply{500, e.what()};
        }
    } else if (refusal != 0) {
        reply = SReply{refusal, ""};
    } else {
        return;
    }
    if (reply.delayMs > 0) {
        _Wait(-1, 0, reply.delayMs);
        if (_stopping) {
            return;
        }
    }

    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " " + ReasonPhrase(reply.status) + "\r\n";
    head += "Connection: close\r\n";
    if (!reply.omitContentLength) {
        head += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
    }
    if (!reply.contentType.empty()) {
        head += "Content-Type: " + reply.contentType + "\r\n";
    }
    if (!reply.location.empty()) {
        head += "Location: " + reply.location + "\r\n";
    }
    for (const auto& header : reply.headers) {
        head += header.first + ": " + header.second + "\r\n";
    }
    head += "\r\n";
    if (!_SendAll(connection, head) || !_SendAll(connection, reply.body)) {
        return;
    }
    // Half-close, then drain until the client closes: closing with unread bytes would reset the
    // connection and could destroy the answer before the client has read it.
    shutdown(connection, SHUT_WR);
    char sink[4096];
    while (_Wait(connection, POLLIN, 1000) && recv(connection, sink, sizeof(sink), MSG_DONTWAIT) > 0) {
    }
}

CRefusingLoopbackPort::CRefusingLoopbackPort() { _socket = BindLoopback(false, _port); }

CRefusingLoopbackPort::~CRefusingLoopbackPort() { close(_socket); }

std::string CRefusingLoopbackPort::Url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(_port) + path;
}
