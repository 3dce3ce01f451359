// One connection of the server: reads a request, has it answered, writes the response, ends.
#pragma once

#include "workbench/http_server.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/thread_pool.hpp>

#include <list>

namespace workbench {

class Connection;

// What all connections share. Its members belong to the thread that runs `io`.
struct ConnectionsShared {
    ConnectionsShared(HttpService& s, const HttpLimits& l)
        : service(s), limits(l), answering(l.threads) {}

    HttpService& service;
    const HttpLimits limits;
    std::list<Connection*> reading; // those that have not sent their request, the oldest first
    std::size_t connections = 0;
    std::size_t answers = 0; // at work or waiting
    boost::asio::io_context io{1};
    boost::asio::thread_pool answering;
};

// Takes a new connection over. On the thread that runs `io`.
void beginConnection(ConnectionsShared& shared, boost::asio::ip::tcp::socket socket);

} // namespace workbench
