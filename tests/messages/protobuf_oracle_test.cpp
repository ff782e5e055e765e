// Holds the codec against protobuf, which reads the schemas from proto/: what either writes, the other reads, and the
// bytes are the same except where the field order differs on purpose.

#include "messages/descriptors.hpp"
#include "tests/messages/guarded_buffer.hpp"
#include "tests/messages/random_record.hpp"
#include "tests/messages/random_source.hpp"
#include "tests/messages/test_arena.hpp"
#include "tests/reference/record_access.hpp"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/dynamic_message.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

namespace pb = google::protobuf;
using namespace record_access;

constexpr size_t RECORDS_PER_TYPE = 400;

// The message types of proto/, as protoc understood them.
class proto_schemas
{
public:
    proto_schemas()
    {
        std::ifstream file(RIB_PROTO_DESCRIPTORS, std::ios::binary);
        pb::FileDescriptorSet set;
        if (!set.ParseFromIstream(&file))
            throw std::runtime_error("cannot read " RIB_PROTO_DESCRIPTORS);
        for (const pb::FileDescriptorProto &each : set.file())
            files_.push_back(pool_.BuildFile(each));
    }

    const pb::Descriptor *find(const std::string &name) const
    {
        for (const pb::FileDescriptor *file : files_)
            if (const pb::Descriptor *found = file->FindMessageTypeByName(name))
                return found;
        return nullptr;
    }

    std::unique_ptr<pb::Message> make(const std::string &name)
    {
        return std::unique_ptr<pb::Message>(factory_.GetPrototype(find(name))->New());
    }

private:
    pb::DescriptorPool pool_;
    std::vector<const pb::FileDescriptor *> files_;
    pb::DynamicMessageFactory factory_;
};

// One value of a member, put into a protobuf message: set, or added where the field is repeated.
class proto_field
{
public:
    proto_field(pb::Message &msg, uint32_t number)
        : msg_(msg), reflection_(*msg.GetReflection()),
          field_(msg.GetDescriptor()->FindFieldByNumber(static_cast<int>(number)))
    {
    }

    void put_number(uint64_t value)
    {
        const auto low = static_cast<uint32_t>(value);
        switch (field_->cpp_type()) {
        case pb::FieldDescriptor::CPPTYPE_BOOL:
            return field_->is_repeated() ? reflection_.AddBool(&msg_, field_, value != 0)
                                         : reflection_.SetBool(&msg_, field_, value != 0);
        case pb::FieldDescriptor::CPPTYPE_UINT64:
            return field_->is_repeated() ? reflection_.AddUInt64(&msg_, field_, value)
                                         : reflection_.SetUInt64(&msg_, field_, value);
        case pb::FieldDescriptor::CPPTYPE_INT64:
            return reflection_.SetInt64(&msg_, field_, static_cast<int64_t>(value));
        default:
            return field_->is_repeated() ? reflection_.AddUInt32(&msg_, field_, low)
                                         : reflection_.SetUInt32(&msg_, field_, low);
        }
    }

    void put_text(const std::string &value)
    {
        if (field_->is_repeated())
            reflection_.AddString(&msg_, field_, value);
        else
            reflection_.SetString(&msg_, field_, value);
    }

    pb::Message &open_message()
    {
        return field_->is_repeated() ? *reflection_.AddMessage(&msg_, field_)
                                     : *reflection_.MutableMessage(&msg_, field_);
    }

    void clear() { reflection_.ClearField(&msg_, field_); }

private:
    pb::Message &msg_;
    const pb::Reflection &reflection_;
    const pb::FieldDescriptor *field_;
};

std::string text_of(const zidl_bytes &value)
{
    return value.size == 0 ? std::string() : std::string(reinterpret_cast<const char *>(value.data), value.size);
}

void convert(const message_descriptor &type, const void *msg, pb::Message &out);

void convert_elements(const field_descriptor &field, const void *msg, proto_field &out)
{
    for (uint32_t i = 0; i < load_count(field, msg); ++i) {
        const uint8_t *at = load_pointer(field, msg) + i * element_size(field);
        if (is_message(field))
            convert(*field.message, at, out.open_message());
        else if (field.type == kind::bytes)
            out.put_text(text_of(load<zidl_bytes>(at)));
        else
            out.put_number(load_number(field, at));
    }
}

void convert_embedded(const field_descriptor &field, bool present, const void *embedded, proto_field &out)
{
    pb::Message &opened = out.open_message();
    convert(*field.message, embedded, opened);
    if (!present && opened.ByteSizeLong() == 0)
        out.clear();
}

// What a reader of the encoding of `msg` should see.
void convert(const message_descriptor &type, const void *msg, pb::Message &out)
{
    for (const field_descriptor &field : fields_of(type)) {
        proto_field to(out, field.number);
        const bool present = has(type, field, msg);
        if (is_singular(field, kind::message)) {
            convert_embedded(field, present, member_address(field, msg), to);
        } else if (!present) {
            continue;
        } else if (field.repeated) {
            convert_elements(field, msg, to);
        } else if (field.type == kind::string) {
            if (load_pointer(field, msg) != nullptr)
                to.put_text(load_pointer<char>(field, msg));
        } else if (field.type == kind::bytes) {
            to.put_text(text_of({load_pointer(field, msg), load_size(field, msg)}));
        } else {
            to.put_number(load_number(field, member_address(field, msg)));
        }
    }
}

// Keeps every bool of the record within `highest`: from 0x80 on its byte is no varint of its own.
void limit_bools(const message_descriptor &type, void *msg, uint8_t highest)
{
    for (const field_descriptor &field : fields_of(type)) {
        uint8_t *member = member_address(field, msg);
        if (is_singular(field, kind::boolean))
            *member &= highest;
        else if (is_singular(field, kind::message))
            limit_bools(*field.message, member, highest);
        for (uint32_t i = 0; field.repeated && is_message(field) && i < load_count(field, msg); ++i)
            limit_bools(*field.message, load_pointer(field, msg) + i * element_size(field), highest);
    }
}

// Whether the type, or one that it holds, writes its fields in another order than that of their numbers.
bool writes_out_of_order(const message_descriptor &type)
{
    uint32_t last = 0;
    for (const field_descriptor &field : fields_of(type)) {
        if (field.number < last || (is_message(field) && writes_out_of_order(*field.message)))
            return true;
        last = field.number;
    }
    return false;
}

bool holds_unknown_fields(const pb::Message &msg)
{
    const pb::Reflection &reflection = *msg.GetReflection();
    if (!reflection.GetUnknownFields(msg).empty())
        return true;
    std::vector<const pb::FieldDescriptor *> fields;
    reflection.ListFields(msg, &fields);
    for (const pb::FieldDescriptor *field : fields) {
        if (field->cpp_type() != pb::FieldDescriptor::CPPTYPE_MESSAGE)
            continue;
        if (!field->is_repeated() && holds_unknown_fields(reflection.GetMessage(msg, field)))
            return true;
        for (int i = 0; field->is_repeated() && i < reflection.FieldSize(msg, field); ++i)
            if (holds_unknown_fields(reflection.GetRepeatedMessage(msg, field, i)))
                return true;
    }
    return false;
}

class protobuf_oracle : public testing::TestWithParam<const message_descriptor *>
{
protected:
    // Runs `check` on random records of the type whose bools are at most `highest_bool`.
    template <class Check>
    void for_random_records(uint8_t highest_bool, Check check)
    {
        random_source random(std::hash<std::string>()(type.name));
        for (size_t i = 0; i < RECORDS_PER_TYPE && !HasFailure(); ++i) {
            SCOPED_TRACE(i);
            memory.reset();
            void *msg = record.open(type.size);
            fill_at_random(type, msg, random, memory);
            limit_bools(type, msg, highest_bool);
            check(msg);
        }
    }

    std::unique_ptr<pb::Message> converted(const void *msg)
    {
        auto out = schemas().make(type.name);
        convert(type, msg, *out);
        return out;
    }

    std::string encoded(const void *msg)
    {
        std::string bytes(type.encode(msg, nullptr, 0, nullptr, nullptr, 0), '\0');
        type.encode(msg, reinterpret_cast<uint8_t *>(bytes.data()), bytes.size(), nullptr, nullptr, 0);
        return bytes;
    }

    const void *decode(const std::string &bytes)
    {
        decoded_memory.reset();
        void *msg = decoded.open(type.size);
        EXPECT_EQ(type.decode(msg, reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size(),
                              &test_arena::allocate_from, &decoded_memory, 0),
                  ZIDL_OK);
        return msg;
    }

    static proto_schemas &schemas()
    {
        static proto_schemas shared;
        return shared;
    }

    static test_arena &shared_arena(size_t index)
    {
        static test_arena shared[2];
        return shared[index];
    }

    const message_descriptor &type = *GetParam();
    guarded_buffer record;
    guarded_buffer decoded;
    test_arena &memory = shared_arena(0);
    test_arena &decoded_memory = shared_arena(1);
};

std::string description_of_difference(const pb::Message &got, const pb::Message &expected)
{
    std::string text;
    pb::util::MessageDifferencer differencer;
    differencer.ReportDifferencesToString(&text);
    return differencer.Compare(expected, got) ? "" : text;
}

TEST_P(protobuf_oracle, fields_are_the_same_in_both_schemas)
{
    const pb::Descriptor *other = schemas().find(type.name);
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(static_cast<uint32_t>(other->field_count()), type.field_count);
    for (const field_descriptor &field : fields_of(type)) {
        const pb::FieldDescriptor *found = other->FindFieldByNumber(static_cast<int>(field.number));
        ASSERT_NE(found, nullptr) << field.member;
        EXPECT_EQ(found->name(), field.member);
        EXPECT_EQ(found->is_repeated(), field.repeated) << field.member;
        EXPECT_FALSE(found->is_packed()) << field.member;
    }
}

TEST_P(protobuf_oracle, protobuf_reads_what_we_write)
{
    for_random_records(0x7f, [this](const void *msg) {
        const auto read = schemas().make(type.name);
        ASSERT_TRUE(read->ParseFromString(encoded(msg)));
        EXPECT_FALSE(holds_unknown_fields(*read));
        EXPECT_EQ(description_of_difference(*read, *converted(msg)), "");
    });
}

TEST_P(protobuf_oracle, we_read_what_protobuf_writes)
{
    for_random_records(0x01, [this](const void *msg) {
        const auto written = converted(msg);
        EXPECT_EQ(description_of_difference(*converted(decode(written->SerializeAsString())), *written), "");
    });
}

TEST_P(protobuf_oracle, both_write_the_same_bytes)
{
    for_random_records(0x01, [this](const void *msg) {
        const std::string expected = converted(msg)->SerializeAsString();
        if (writes_out_of_order(type))
            EXPECT_EQ(encoded(msg).size(), expected.size());
        else
            EXPECT_EQ(encoded(msg), expected);
    });
}

INSTANTIATE_TEST_SUITE_P(messages, protobuf_oracle,
                         testing::ValuesIn(std::vector(zidl::all_messages, zidl::all_messages + zidl::message_count)),
                         [](const auto &instance) { return std::string(instance.param->name); });

} // namespace
