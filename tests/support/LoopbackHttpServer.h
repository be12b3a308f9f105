#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// CLoopbackHttpServer is a small HTTP/1.1 server for tests on 127.0.0.1, at a port the system
// picks. It serves one connection at a time on its own thread, reads a body by Content-Length
// (answering "Expect: 100-continue") and closes every connection after one answer. The handler
// runs on the server thread; the destructor stops it promptly, even while a reply is delayed.
class CLoopbackHttpServer {
public:
    struct SRequest {
        std::string method;
        std::string path;  // the request target as sent: "/a?b=c", or a full URL through a proxy
        std::map<std::string, std::string> headers;  // names in lower case
        std::string body;
        // Header returns the value of a header (name in any case), or "" when it is absent.
        std::string Header(const std::string& name) const;
    };

    struct SReply {
        SReply() = default;
        SReply(int inStatus, std::string inBody, std::string inLocation = {})
            : status(inStatus), body(std::move(inBody)), location(std::move(inLocation)) {}
        int status = 200;
        std::string body;
        std::string location;            // sent as "Location" when not empty (redirects)
        bool omitContentLength = false;  // the body then ends when the connection closes
        int delayMs = 0;                 // wait this long before answering (time-out tests)
    };

    using Handler = std::function<SReply(const SRequest& request)>;

    // The constructor throws std::runtime_error when no socket can be had.
    explicit CLoopbackHttpServer(Handler handler);
    ~CLoopbackHttpServer();
    CLoopbackHttpServer(const CLoopbackHttpServer&) = delete;
    CLoopbackHttpServer& operator=(const CLoopbackHttpServer&) = delete;

    // Url returns "http://127.0.0.1:<port>" followed by path.
    std::string Url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(_port) + path;
    }
    int Port() const { return _port; }
    // Requests returns every request received so far; one is recorded before its handler runs.
    std::vector<SRequest> Requests() const;

private:
    void _Serve(int connection);

    Handler _handler;
    int _listener = -1;
    int _port = 0;
    std::atomic<bool> _stopping{false};
    std::atomic<int> _connection{-1};
    mutable std::mutex _mutex;
    std::condition_variable _stopped;
    std::vector<SRequest> _requests;
    std::thread _thread;
};

// CRefusingLoopbackPort holds a port on 127.0.0.1 that is bound but never listens, so connections
// to it are refused and no other program can take it while the object lives.
class CRefusingLoopbackPort {
public:
    CRefusingLoopbackPort();
    ~CRefusingLoopbackPort();
    CRefusingLoopbackPort(const CRefusingLoopbackPort&) = delete;
    CRefusingLoopbackPort& operator=(const CRefusingLoopbackPort&) = delete;
    std::string Url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(_port) + path;
    }

private:
    int _socket = -1;
    int _port = 0;
};
