#include "tools/ribtool/streams/stream_server.hpp"

#include "tools/ribtool/errors.hpp"
#include "tools/ribtool/output/interruption.hpp"
#include "tools/ribtool/streams/connection.hpp"

#include <netinet/in.h>
#include <netinet/tcp.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

namespace ribtool
{

namespace
{

// Of what is watched besides clients, whose numbers begin at 1 and never come here.
constexpr uint64_t LISTENER = UINT64_MAX;
constexpr uint64_t STORE = UINT64_MAX - 1;
constexpr uint64_t INTERRUPTION = UINT64_MAX - 2;

} // namespace

stream_server::stream_server(listener &at, stream_store &store, const serve_terms &terms)
    : listener_(at), store_(store), terms_(terms), epoll_(epoll_create1(EPOLL_CLOEXEC))
{
    if (!epoll_)
        fail(EXIT_FILE, "{}: cannot serve: {}", listener_.name(), std::strerror(errno));
    watch(store_.news(), STORE);
    if (interruption_descriptor() >= 0)
        watch(interruption_descriptor(), INTERRUPTION);
    start_accepting();
}

void stream_server::watch(int descriptor, uint64_t id) const
{
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.u64 = id;
    if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor, &event) != 0)
        fail(EXIT_FILE, "{}: cannot serve: {}", listener_.name(), std::strerror(errno));
}

exit_code stream_server::run(std::optional<uint64_t> clients)
{
    std::array<epoll_event, 64> events;
    while (!interrupted() && !(clients && served_ >= *clients)) {
        const int count =
            epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), milliseconds_to_wait());
        if (count < 0 && errno != EINTR)
            fail(EXIT_FILE, "{}: cannot serve: {}", listener_.name(), std::strerror(errno));
        now_ = std::chrono::steady_clock::now();
        for (int index = 0; index < count; ++index)
            handle(events[static_cast<size_t>(index)]);
        advance_waiting();
    }
    for (const auto &[id, client] : clients_) {
        report(id, client);
        served_ += client.has_been_sent_all() ? 1 : 0;
    }
    clients_.clear();
    tell_of_damage();
    return result_;
}

void stream_server::handle(const epoll_event &event)
{
    switch (event.data.u64) {
    case LISTENER:
        accept_all();
        break;
    case STORE:
        store_.acknowledge();
        tell_of_damage();
        break;
    case INTERRUPTION:
        break;
    default:
        handle_client(event.data.u64, event.events);
    }
}

// As soon as it is found: a server may run for long.
void stream_server::tell_of_damage()
{
    const std::optional<damage> found = store_.found_damage();
    if (!found || found->code == EXIT_INTERRUPTED || std::exchange(has_told_of_damage_, true))
        return;
    complain("{}", found->place.empty() ? found->text : fmt::format("{}: {}", found->place, found->text));
    result_ = found->code;
}

// ---- Who comes ----

void stream_server::accept_all()
{
    for (;;) {
        descriptor socket = listener_.accept();
        if (!socket)
            break;
        keep_alive(socket.get());
        constexpr int ON = 1;
        setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &ON, sizeof ON); // a frame that is due is not held back
        const uint64_t id = ++came_;
        watch(socket.get(), id);
        watched_[id] = EPOLLIN;
        clients_.try_emplace(id, std::move(socket), store_, terms_, now_).first->second.advance(now_);
        settle(id, clients_.at(id));
    }
    if (errno != EAGAIN)
        stop_accepting();
}

// There are no descriptors left. Who waits is let in when another one has gone.
void stream_server::stop_accepting()
{
    complain("{}: cannot take a further client: {}", listener_.name(), std::strerror(errno));
    epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, listener_.get(), nullptr);
    is_accepting_ = false;
}

void stream_server::start_accepting()
{
    if (!is_accepting_)
        watch(listener_.get(), LISTENER);
    is_accepting_ = true;
}

// ---- Who is there ----

void stream_server::handle_client(uint64_t id, uint32_t events)
{
    const auto found = clients_.find(id);
    if (found == clients_.end())
        return; // has ended in this turn
    served_client &client = found->second;
    if ((events & EPOLLIN) != 0)
        client.read_and_forget();
    if ((events & EPOLLOUT) != 0 && !client.has_ended())
        client.advance(now_);
    if ((events & (EPOLLERR | EPOLLHUP)) != 0)
        client.notice_failure();
    settle(id, client);
}

// Those whose time has come, or whose chunk may have.
void stream_server::advance_waiting()
{
    std::vector<uint64_t> ids;
    for (const auto &[id, client] : clients_) {
        if (client.now_is() == served_client::state::needs_chunk || client.wakes_at() <= now_)
            ids.push_back(id);
    }
    for (const uint64_t id : ids) {
        served_client &client = clients_.at(id);
        client.look_at_clock(now_);
        if (!client.has_ended() && !client.wants_to_write())
            client.advance(now_);
        settle(id, client);
    }
}

void stream_server::settle(uint64_t id, served_client &client)
{
    if (client.has_ended())
        remove(id);
    else
        listen_to(id, client);
}

void stream_server::listen_to(uint64_t id, const served_client &client)
{
    epoll_event event = {};
    event.data.u64 = id;
    if (client.wants_to_read())
        event.events |= EPOLLIN;
    if (client.wants_to_write())
        event.events |= EPOLLOUT;
    if (event.events == watched_[id])
        return;
    watched_[id] = event.events;
    epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, client.socket(), &event);
}

void stream_server::remove(uint64_t id)
{
    const served_client &client = clients_.at(id);
    report(id, client);
    if (client.now_is() == served_client::state::is_served)
        ++served_;
    clients_.erase(id); // which closes its socket and so takes it out of what is watched
    watched_.erase(id);
    start_accepting();
}

void stream_server::report(uint64_t id, const served_client &client)
{
    frames_ += client.frames();
    bytes_ += client.bytes();
    terminal::say("client {}: {} frames, {} bytes in {:.1f} s: {}\n", id, client.frames(), client.bytes(),
                  client.seconds(now_), client.outcome());
}

void stream_server::print_summary() const
{
    terminal::say("{}: {} client{}, {} had everything; {} frames, {} bytes sent\n",
                  terminal::shown_on(stderr, listener_.name()), came_, came_ == 1 ? "" : "s", served_, frames_, bytes_);
}

int stream_server::milliseconds_to_wait() const
{
    steady_time first = steady_time::max();
    for (const auto &[id, client] : clients_)
        first = std::min(first, client.wakes_at());
    if (first == steady_time::max())
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(first - std::chrono::steady_clock::now()).count();
    constexpr long LONGEST = 1000 * 1000;
    return static_cast<int>(std::clamp<long>(left, 0, LONGEST));
}

} // namespace ribtool
