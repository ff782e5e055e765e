// What `ip -j route` prints, pretty or not: an array of objects, one a route. Arrays one after another (of both families, say) and
// objects without an array (`jq -c '.[]'`) are read, too.
//
// Interfaces have their names there; where the output of `ip -j link` comes in front, their indexes are taken from it.

#pragma once

#include "tools/ribtool/tables/iproute_names.hpp"
#include "tools/ribtool/tables/json_tokens.hpp"
#include "tools/ribtool/tables/kernel_source.hpp"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace ribtool
{

// Whether a file that starts so begins with an array or an object.
bool is_kernel_json(byte_span start);

class kernel_json : public kernel_source
{
public:
    explicit kernel_json(std::unique_ptr<compressed_input> input) : tokens_(std::move(input)) {}

    uint64_t position() const override { return tokens_.input().position(); }
    uint64_t size() const override { return tokens_.input().size(); }

    enum class member : uint8_t;

protected:
    bool next_entry(kernel_route &entry) override;
    std::string place_of(uint64_t line, uint64_t column) const override { return tokens_.place_of(line, column); }

private:
    // What is known of an object before its end.
    struct object {
        bool is_empty = true;
        std::optional<ip_prefix> destination;
        bool is_default = false;          // its destination is that of all packets of its family
        bool is_ipv6 = false;             // another member says so
        bool is_in_encapsulation = false; // its members follow, some under names that the route's own have, too
        kernel_hop hop;                   // of a route with one
        bool has_hop = false;
        std::optional<uint32_t> link_index;
        std::string link_name;
    };

    bool next_object();
    bool parse_object(kernel_route &entry);
    void parse_member(member which, const json_token &value, object &from, kernel_route &entry);
    void parse_route_member(member which, const json_token &value, object &from, kernel_route &entry);
    bool parse_hop_member(member which, const json_token &value, kernel_hop &hop, object &from, kernel_route &entry);
    void parse_destination(const json_token &value, object &from);
    void parse_via(const json_token &value, kernel_hop &hop);
    void parse_flags(const json_token &value, kernel_hop &hop);
    void parse_hops(const json_token &value, object &from, kernel_route &entry);
    bool finish(object &from, kernel_route &entry);

    void require(json_kind kind, member which, const json_token &value) const;
    std::string_view text(member which, const json_token &value) const;
    uint32_t number(member which, const json_token &value) const;
    ip_address address(member which, const json_token &value) const;
    std::optional<uint32_t> named(member which, const json_token &value, const name_numbers &names) const;
    uint32_t number_of_unknown_table(std::string_view name);
    std::optional<uint32_t> interface_index(const json_token &value) const;
    [[noreturn]] void bad(member which, const json_token &value) const;

    json_tokens tokens_;
    bool is_in_array_ = false;
    name_numbers interfaces_;
    name_numbers unknown_tables_; // in the order in which they come, from 1
    const name_numbers tables_ = table_numbers();
    const name_numbers protocols_ = protocol_numbers();
};

} // namespace ribtool
