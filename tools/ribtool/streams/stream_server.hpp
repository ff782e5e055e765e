// Serves one stream to all who come, in one loop.

#pragma once

#include "tools/ribtool/streams/listener.hpp"
#include "tools/ribtool/streams/served_client.hpp"

#include <sys/epoll.h>

#include <cstdint>
#include <optional>
#include <unordered_map>

namespace ribtool
{

class stream_server
{
public:
    // All three must outlive the server.
    stream_server(listener &at, stream_store &store, const serve_terms &terms);

    // Until a signal comes, or `clients` of them have had everything. Says of each how it ended, and of a source where it is damaged: then gives
    // the damage's code.
    exit_code run(std::optional<uint64_t> clients);

    void print_summary() const;

private:
    void watch(int descriptor, uint64_t id) const;
    void handle(const epoll_event &event);
    void tell_of_damage();
    void accept_all();
    void stop_accepting();
    void start_accepting();
    void handle_client(uint64_t id, uint32_t events);
    void advance_waiting();
    void settle(uint64_t id, served_client &client);
    void listen_to(uint64_t id, const served_client &client);
    void remove(uint64_t id);
    void report(uint64_t id, const served_client &client);
    int milliseconds_to_wait() const;

    listener &listener_;
    stream_store &store_;
    const serve_terms &terms_;
    descriptor epoll_;
    steady_time now_;
    std::unordered_map<uint64_t, served_client> clients_; // by number, from 1
    std::unordered_map<uint64_t, uint32_t> watched_;      // for which events of its socket
    uint64_t came_ = 0;
    uint64_t served_ = 0;
    uint64_t frames_ = 0;
    uint64_t bytes_ = 0;
    bool is_accepting_ = false;
    bool has_told_of_damage_ = false;
    exit_code result_ = EXIT_DONE;
};

} // namespace ribtool
