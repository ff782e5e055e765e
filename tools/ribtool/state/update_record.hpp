// The record that a client's callback gets of an update, for as long as the object lives.

#pragma once

#include "inspect/records/client_records.hpp"
#include "tools/ribtool/explain/explanation.hpp"
#include "tools/ribtool/frames/frame.hpp"

#include <cstddef>
#include <vector>

namespace ribtool
{

class update_record
{
public:
    // Of an update that is delivered, and no grid list.
    update_record(uint16_t code, byte_span payload);

    // Of a key of a grid list.
    explicit update_record(const rib_encap_id_path_key_t &key);

    const rib_inspect::client_record &view() const { return view_; }
    const rib_explanation *explained() const { return explained_.get(); } // null of a key and of an older-form route

private:
    void convert_older_route(byte_span payload);

    rib_inspect::client_record view_;
    explanation_handle explained_;
    std::vector<uint64_t> converted_; // an older-form route, or a key
};

} // namespace ribtool
