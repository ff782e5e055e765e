// MRT files (RFC 6396, RFC 8050) as a source of routes: TABLE_DUMP_V2 gives tables, BGP4MP gives updates.

#pragma once

#include "tools/ribtool/tables/bgp_attributes.hpp"
#include "tools/ribtool/tables/byte_reader.hpp"
#include "tools/ribtool/tables/mrt_records.hpp"
#include "tools/ribtool/tables/peer_numbers.hpp"
#include "tools/ribtool/tables/row_source.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ribtool
{

// Whether a file that starts so begins with the header of a record that is known.
bool is_mrt(byte_span start);

class mrt_file : public row_source
{
public:
    explicit mrt_file(std::unique_ptr<compressed_input> input)
        : records_(std::move(input)), attribute_reader_(left_out_)
    {
    }

    uint64_t position() const override { return records_.file().position(); }
    uint64_t size() const override { return records_.file().size(); }

protected:
    bool next_row(table_row &row) override;
    std::string place_of(uint64_t number, uint64_t offset) const override { return records_.place_of(number, offset); }

private:
    struct bgp_update {
        ip_prefix prefix = {};
        bool is_withdrawn = false;
        std::optional<ip_address> next_hop = {};
    };

    bool read_record(table_row &row);
    void skip_record();

    bool read_table_record(table_row &row);
    void read_peer_table();
    bool read_entries(byte_reader &in, const ip_prefix &prefix, bool has_path_ids, table_row &row);

    void read_message_record();
    void read_update_message(byte_reader &message, as_size size);
    void add_updates(const bgp_prefixes &prefixes, bgp_update update);
    void give_update(table_row &row);

    mrt_records records_;
    mrt_record record_;
    bgp_attribute_reader attribute_reader_;
    bgp_attributes attributes_;        // of the last entry or message
    std::optional<size_t> peer_count_; // of the PEER_INDEX_TABLE
    peer_numbers peers_;               // of messages
    bool has_path_ids_ = false;        // the last message
    std::vector<bgp_update> updates_;  // of the last message
    size_t given_updates_ = 0;
};

} // namespace ribtool
