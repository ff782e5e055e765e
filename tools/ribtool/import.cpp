// ribtool import: turns a text table of routes into a capture of encoded route updates.

#include "tools/ribtool/commands.hpp"
#include "tools/ribtool/encode.hpp"
#include "tools/ribtool/progress.hpp"
#include "tools/ribtool/table_file.hpp"

namespace ribtool
{

exit_code run_import(const import_options &options)
{
    table_file table(options.input);
    require_other_file(options.input, options.output);
    capture_writer writer(options.output, options.format);
    progress_bar progress("import", table.input().size());
    scratch memory;
    table_route route;
    uint64_t time_us = 0;
    uint64_t routes = 0;
    uint64_t paths = 0;
    while ((!options.limit || routes < *options.limit) && table.next(route, time_us)) {
        memory.reset();
        const byte_vector payload = encoded(route_message(route, memory));
        if (payload.size() > MAX_PAYLOAD_LEN)
            fail(EXIT_MALFORMED, "{}: the route's {} paths take {} bytes, a frame holds {}", table.place(),
                 route.paths.size(), payload.size(), MAX_PAYLOAD_LEN);
        for (uint64_t copy = 0; copy < options.updates_per_route; ++copy)
            writer.write(time_us, framed(RIB_TLV_ROUTE, payload));
        ++routes;
        paths += route.paths.size();
        progress.show(table.input().position(), routes);
    }
    writer.close();
    progress.clear();
    fmt::print(stderr, "{}: {} routes with {} paths, {} updates\n", options.input, routes, paths,
               routes * options.updates_per_route);
    return EXIT_DONE;
}

} // namespace ribtool
