// SPDX-License-Identifier: Apache-2.0
// The web server of the panel. Its threads never touch the lab: what they want done is posted to
// the lab's loop, and they wait for it; the loop waits for none of them.
#include "lab/web/panel.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <httplib.h>
#include <sys/random.h>
#include <asio/post.hpp>

#include <algorithm>
#include <array>
#include <future>
#include <thread>

#include "lab/web/lab_view.h"
#include "lab/web/page.h"
#include "lab/web/ses_page.h"

namespace enclab {

namespace {

using httplib::Request;
using httplib::Response;

constexpr char kHost[] = "127.0.0.1";
constexpr int kFirstPort = 8090;
constexpr int kLastPort = 8189;
constexpr int kReadersMax = 16;  // each holds a thread
constexpr std::size_t kThreads = kReadersMax + 8;
constexpr std::size_t kLineMax = 4096;
constexpr std::chrono::seconds kLabPatience{60};
constexpr char kJson[] = "application/json";
constexpr char kText[] = "text/plain; charset=utf-8";
constexpr char kTokenHeader[] = "X-Panel-Token";
// The page's own files only; the chart library sets styles of its own.
constexpr char kContentPolicy[] =
    "default-src 'self'; style-src 'self' 'unsafe-inline'; img-src 'self' data:; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
// Of Debian's packages: the chart library.
constexpr char kChartFiles[] = "/usr/share/javascript/dygraphs";

std::string randomToken() {
    std::array<std::uint8_t, 16> bytes;
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("no random bytes for the panel's token");
    }
    return fmt::format("{:02x}", fmt::join(bytes, ""));
}

void refuse(Response& response, int status, const std::string& text) {
    response.status = status;
    response.set_content(text + "\n", kText);
}

const char* contentType(const std::string& path) {
    return path.ends_with(".css")  ? "text/css; charset=utf-8"
           : path.ends_with(".js") ? "text/javascript; charset=utf-8"
                                   : "text/html; charset=utf-8";
}

class WebPanel : public Panel {
  public:
    explicit WebPanel(int port) : token_(randomToken()) {
        prepare();
        port_ = bind(port);
        url_ = fmt::format("http://{}:{}/?token={}", kHost, port_, token_);
        thread_ = std::thread([this] { server_.listen_after_bind(); });
    }

    ~WebPanel() override {
        leave();
        live_.close();
        // stop() does nothing before the server runs.
        while (!server_.is_running()) {
            std::this_thread::yield();
        }
        server_.stop();
        thread_.join();
    }

    const std::string& url() const override { return url_; }

    void show(Lab& lab, PanelControls controls) override {
        live_.clear();
        const std::lock_guard lock(mutex_);
        view_ = std::make_shared<LabView>(lab, std::move(controls), live_);
        directory_ = lab.directory().path();
    }

    void leave() override {
        const std::lock_guard lock(mutex_);
        view_.reset();
    }

    void line(double time, const std::string& text) override {
        live_.putLine(nlohmann::json{{"time", time}, {"text", text}}.dump(
            -1, ' ', false, nlohmann::json::error_handler_t::replace));
    }

    void message(std::uint8_t from, const Message& message) override {
        if (view_) {
            view_->metrics().message(from, message);
        }
    }

  private:
    struct Answer {
        int status = 200;
        std::string text;
        std::string type = kJson;
    };
    using Question = std::function<Answer(LabView&)>;

    void prepare();
    int bind(int port);
    bool allowed(const Request& request, Response& response) const;
    void ask(Response& response, Question question);
    void events(Response& response);
    void page(Response& response);

    const std::string token_;
    std::string url_;
    int port_ = 0;
    Live live_;
    std::mutex mutex_;  // of view_ and directory_, which only the lab's thread changes
    std::shared_ptr<LabView> view_;
    std::filesystem::path directory_;
    std::mutex pageMutex_;  // one SES client at a time: they share their handles
    httplib::Server server_;
    std::thread thread_;
};

void WebPanel::prepare() {
    server_.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
    // A second lab must find the port taken: no SO_REUSEPORT.
    server_.set_socket_options([](socket_t socket) {
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    // An idle connection would hold a thread, and the end of the program.
    server_.set_keep_alive_max_count(1);
    server_.set_read_timeout(1);
    server_.set_write_timeout(2);
    server_.set_payload_max_length(kLineMax);
    server_.set_default_headers({{"Cache-Control", "no-store"},
                                 {"X-Content-Type-Options", "nosniff"},
                                 {"Referrer-Policy", "no-referrer"},
                                 {"X-Frame-Options", "DENY"},
                                 {"Content-Security-Policy", kContentPolicy}});
    server_.set_pre_routing_handler([this](const Request& request, Response& response) {
        return allowed(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                          : httplib::Server::HandlerResponse::Handled;
    });
    server_.set_mount_point("/dygraphs", kChartFiles);
    for (const PageFile& file : pageFiles()) {
        const auto give = [&file](const Request&, Response& response) {
            response.set_content(file.text, contentType(file.path));
        };
        server_.Get(file.path, give);
        if (file.path == "/index.html") {
            server_.Get("/", give);
        }
    }
    server_.Get("/api/state", [this](const Request&, Response& response) {
        ask(response, [](LabView& view) { return Answer{.text = view.state().dump()}; });
    });
    server_.Get("/api/history", [this](const Request&, Response& response) {
        ask(response, [](LabView& view) { return Answer{.text = view.history().dump()}; });
    });
    server_.Get("/metrics", [this](const Request&, Response& response) {
        ask(response, [](LabView& view) {
            return Answer{.text = view.metrics().text(), .type = "text/plain; version=0.0.4"};
        });
    });
    server_.Get("/api/events", [this](const Request&, Response& response) { events(response); });
    // It makes the daemon work, which a GET never does.
    server_.Post("/api/page", [this](const Request&, Response& response) { page(response); });
    server_.Post("/api/command", [this](const Request& request, Response& response) {
        ask(response, [line = request.body](LabView& view) {
            const Commands::Result result = view.controls().command(line);
            return Answer{result.ok ? 200 : 400, result.text + "\n", kText};
        });
    });
    server_.Post("/api/chassis", [this](const Request& request, Response& response) {
        ask(response, [name = request.body](LabView& view) {
            if (!std::ranges::count(selectableChassis(), name)) {
                return Answer{400, "no personality file selects this chassis\n", kText};
            }
            view.controls().restart(name);
            return Answer{200, "the lab starts again\n", kText};
        });
    });
}

int WebPanel::bind(int port) {
    const int first = port == 0 ? kFirstPort : port;
    const int last = port == 0 ? kLastPort : port;
    for (int candidate = first; candidate <= last; ++candidate) {
        if (server_.bind_to_port(kHost, candidate)) {
            return candidate;
        }
    }
    throw std::runtime_error(
        port == 0 ? fmt::format("no free port for the panel from {} to {}", kFirstPort, kLastPort)
                  : fmt::format("the panel's port {} is taken", port));
}

// A page of another site must neither read (a name of its own that leads here) nor change anything
// (it does not know the token).
bool WebPanel::allowed(const Request& request, Response& response) const {
    const std::string host = request.get_header_value("Host");
    const std::string name = host.substr(0, host.rfind(':'));
    if (name != kHost && name != "localhost") {
        refuse(response, 403, "the panel answers to 127.0.0.1 and localhost only");
        return false;
    }
    if (request.method != "GET" && request.method != "HEAD" &&
        request.get_header_value(kTokenHeader) != token_) {
        refuse(response, 403, "this needs the token of the address the lab has printed");
        return false;
    }
    return true;
}

// Does the question in the lab's loop and waits for it. When the lab goes away first, the question
// goes with its loop, and so does the promise.
void WebPanel::ask(Response& response, Question question) {
    const auto promise = std::make_shared<std::promise<Answer>>();
    std::future<Answer> answer = promise->get_future();
    {
        const std::lock_guard lock(mutex_);
        if (!view_) {
            return refuse(response, 503, "no lab is running at the moment");
        }
        asio::post(view_->io(), [view = std::weak_ptr(view_), promise = promise,
                                 question = std::move(question)] {
            if (const auto here = view.lock()) {
                promise->set_value(question(*here));
            }
        });
    }
    if (answer.wait_for(kLabPatience) != std::future_status::ready) {
        return refuse(response, 503, "the lab does not answer");
    }
    try {
        const Answer got = answer.get();
        response.status = got.status;
        response.set_content(got.text, got.type);
    } catch (const std::future_error&) {
        refuse(response, 503, "the lab has ended");
    }
}

// One browser's stream, for as long as it takes what it is sent.
void WebPanel::events(Response& response) {
    struct Client {
        explicit Client(Live& live) : reader(live) {}
        Live::Reader reader;
        Live::Place place;
    };
    if (live_.readers() >= kReadersMax) {
        return refuse(response, 503, "too many browsers watch this lab");
    }
    const auto client = std::make_shared<Client>(live_);
    response.set_chunked_content_provider(
        "text/event-stream", [this, client](std::size_t, httplib::DataSink& sink) {
            Live::News news;
            if (!live_.next(client->place, news)) {
                return false;
            }
            std::string text = news.cleared ? "event: lab\ndata: {}\n\n" : "";
            for (const std::string& line : news.lines) {
                text += fmt::format("event: line\ndata: {}\n\n", line);
            }
            if (!news.state.empty()) {
                text += fmt::format("event: state\ndata: {}\n\n", news.state);
            }
            return text.empty() || sink.write(text.data(), text.size());
        });
}

// As an SES client beside the lab, over the switch's socket: what the daemon answers, not what the
// lab knows.
void WebPanel::page(Response& response) {
    std::filesystem::path directory;
    {
        const std::lock_guard lock(mutex_);
        directory = directory_;
    }
    const std::lock_guard lock(pageMutex_);
    try {
        response.set_content(sesPage(directory / "mmsg" / "environ").dump(), kJson);
    } catch (const std::exception& error) {
        refuse(response, 503, error.what());
    }
}

}  // namespace

std::unique_ptr<Panel> openPanel(int port) {
    return std::make_unique<WebPanel>(port);
}

}  // namespace enclab
