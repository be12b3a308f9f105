#include "tests/support/LoopbackHttpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <chrono>
#include <sstream>
#include <stdexcept>

namespace {

std::string Lower(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

std::string Trim(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t\r");
    return first == std::string::npos ? std::string()
                                      : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

int BindLoopback(bool listening, int& port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        (listening && listen(fd, 16) != 0) ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        if (fd >= 0) {
            close(fd);
        }
        throw std::runtime_error("loopback server: cannot bind 127.0.0.1");
    }
    port = ntohs(address.sin_port);
    return fd;
}

bool SendAll(int connection, const std::string& bytes) {
    for (size_t sent = 0; sent < bytes.size();) {
        const ssize_t n = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n <= 0) {
            return false;  // the client went away (it may abort an oversize answer on purpose)
        }
        sent += static_cast<size_t>(n);
    }
    return true;
}

}  // namespace

std::string CLoopbackHttpServer::SRequest::Header(const std::string& name) const {
    const auto found = headers.find(Lower(name));
    return found == headers.end() ? std::string() : found->second;
}

CLoopbackHttpServer::CLoopbackHttpServer(Handler handler) : _handler(std::move(handler)) {
    _listener = BindLoopback(true, _port);
    _thread = std::thread([this] {
        for (int connection; (connection = accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
            _connection = connection;
            _Serve(connection);
            _connection = -1;
            close(connection);
        }
    });
}

// Shutting the sockets down ends a blocked accept or receive at once.
CLoopbackHttpServer::~CLoopbackHttpServer() {
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _stopping = true;
    }
    _stopped.notify_all();
    shutdown(_listener, SHUT_RDWR);
    if (const int connection = _connection; connection >= 0) {
        shutdown(connection, SHUT_RDWR);
    }
    _thread.join();
    close(_listener);
}

std::vector<CLoopbackHttpServer::SRequest> CLoopbackHttpServer::Requests() const {
    std::lock_guard<std::mutex> lock(_mutex);
    return _requests;
}

void CLoopbackHttpServer::_Serve(int connection) {
    const timeval idle{10, 0};  // a client that sends nothing for this long is dropped
    setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &idle, sizeof(idle));
    std::string data;
    char chunk[16384];
    const auto readMore = [&] {
        const ssize_t n = _stopping ? 0 : recv(connection, chunk, sizeof(chunk), 0);
        data.append(chunk, n > 0 ? static_cast<size_t>(n) : 0);
        return n > 0;
    };
    size_t headerEnd;
    while ((headerEnd = data.find("\r\n\r\n")) == std::string::npos) {
        if (!readMore()) {
            return;
        }
    }
    SRequest request;
    std::istringstream head(data.substr(0, headerEnd));
    data.erase(0, headerEnd + 4);
    std::string line;
    std::getline(head, line);
    std::istringstream(line) >> request.method >> request.path;
    while (std::getline(head, line)) {
        if (const size_t colon = line.find(':'); colon != std::string::npos) {
            request.headers[Lower(Trim(line.substr(0, colon)))] = Trim(line.substr(colon + 1));
        }
    }
    const size_t length = std::stoul("0" + request.Header("content-length"));
    if (length > data.size() && Lower(request.Header("expect")) == "100-continue" &&
        !SendAll(connection, "HTTP/1.1 100 Continue\r\n\r\n")) {
        return;
    }
    while (data.size() < length) {
        if (!readMore()) {
            return;
        }
    }
    request.body = data.substr(0, length);
    SReply reply;
    {
        std::unique_lock<std::mutex> lock(_mutex);
        _requests.push_back(request);
    }
    try {
        reply = _handler(request);
    } catch (const std::exception& e) {
        reply = SReply{500, e.what()};
    }
    {
        std::unique_lock<std::mutex> lock(_mutex);
        if (_stopped.wait_for(lock, std::chrono::milliseconds(reply.delayMs),
                              [this] { return _stopping.load(); })) {
            return;
        }
    }
    std::string answer = "HTTP/1.1 " + std::to_string(reply.status) + " Status\r\nConnection: close\r\n";
    if (!reply.omitContentLength) {
        answer += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
    }
    if (!reply.location.empty()) {
        answer += "Location: " + reply.location + "\r\n";
    }
    if (!SendAll(connection, answer + "Content-Type: application/octet-stream\r\n\r\n" + reply.body)) {
        return;
    }
    // Half-close, then drain until the client closes: closing with unread bytes would reset the
    // connection and could destroy the answer before the client has read it.
    shutdown(connection, SHUT_WR);
    const timeval drain{1, 0};
    setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &drain, sizeof(drain));
    while (readMore()) {
        data.clear();
    }
}

CRefusingLoopbackPort::CRefusingLoopbackPort() { _socket = BindLoopback(false, _port); }

CRefusingLoopbackPort::~CRefusingLoopbackPort() { close(_socket); }
