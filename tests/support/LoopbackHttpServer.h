#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// CLoopbackHttpServer is a small HTTP/1.1 server for tests. It listens on 127.0.0.1 at a port the
// system picks, serves one connection at a time on its own thread and closes every connection
// after one answer ("Connection: close"). Request bodies are read by Content-Length ("Expect:
// 100-continue" is answered); chunked request bodies are refused with 501.
//
//     CLoopbackHttpServer server([](const CLoopbackHttpServer::SRequest& request) {
//         return CLoopbackHttpServer::SReply{200, "payload"};
//     });
//     ca::Http::GetBlob(server.Url("/file"), out);
//     EXPECT_EQ(server.Requests().at(0).path, "/file");
//
// The handler runs on the server thread; an exception from it becomes a 500 answer. The destructor
// stops the thread promptly, even while a reply is delayed or a client keeps a connection open.
class CLoopbackHttpServer {
public:
    // SRequest is one received request. Header names are stored in lower case.
    struct SRequest {
        std::string method;  // "GET", "POST", ...
        std::string path;    // the request target as sent: "/a?b=c", or a full URL through a proxy
        std::map<std::string, std::string> headers;
        std::string body;

        // Header returns the value of a header (name in any case), or "" when it is absent.
        std::string Header(const std::string& name) const;
    };

    // SReply is the handler's answer.
    struct SReply {
        SReply() = default;
        SReply(int inStatus, std::string inBody, std::string inLocation = {})
            : status(inStatus), body(std::move(inBody)), location(std::move(inLocation)) {}

        int status = 200;
        std::string body;
        std::string location;  // sent as "Location" when not empty (redirects)
        std::string contentType = "application/octet-stream";
        std::vector<std::pair<std::string, std::string>> headers;  // further header lines
        bool omitContentLength = false;  // the body then ends when the connection closes
        int delayMs = 0;                 // wait this long before answering (time-out tests)
    };

    using Handler = std::function<SReply(const SRequest& request)>;

    // The constructor binds, listens and starts the thread; it throws std::runtime_error when no
    // socket can be had.
    explicit CLoopbackHttpServer(Handler handler);
    ~CLoopbackHttpServer();
    CLoopbackHttpServer(const CLoopbackHttpServer&) = delete;
    CLoopbackHttpServer& operator=(const CLoopbackHttpServer&) = delete;

    // Url returns "http://127.0.0.1:<port>" followed by path (which should start with "/").
    std::string Url(const std::string& path) const;
    int Port() const { return _port; }

    // Requests returns a copy of every request received so far, in arrival order. A request is
    // recorded before its handler runs, so it is visible once the client has its answer.
    std::vector<SRequest> Requests() const;

private:
    void _Run();
    void _Serve(int connection);
    bool _Wait(int fd, short events, int timeoutMs) const;
    bool _ReadRequest(int connection, SRequest& request, int& refusal) const;
    bool _SendAll(int connection, const std::string& bytes) const;

    Handler _handler;
    int _listener = -1;
    int _wakeRead = -1;
    int _wakeWrite = -1;
    int _port = 0;
    std::atomic<bool> _stopping{false};
    mutable std::mutex _mutex;
    std::vector<SRequest> _requests;
    std::thread _thread;
};

// CRefusingLoopbackPort holds a port on 127.0.0.1 that is bound but never listens, so connections
// to it are refused and no other program can take it while the object lives.
class CRefusingLoopbackPort {
public:
    CRefusingLoopbackPort();  // std::runtime_error when no socket can be had
    ~CRefusingLoopbackPort();
    CRefusingLoopbackPort(const CRefusingLoopbackPort&) = delete;
    CRefusingLoopbackPort& operator=(const CRefusingLoopbackPort&) = delete;

    int Port() const { return _port; }
    std::string Url(const std::string& path) const;

private:
    int _socket = -1;
    int _port = 0;
};
