// Holds the generated code of every message type against the reference implementation, on random records and on inputs
// that a broken or hostile peer might send. Prints what it did; a failure names the type, the seed and the case, and
//
//     differential_test --type NAME --seed SEED --case NUMBER
//
// runs that case alone. Other options: --count (cases of each of the two sorts per type), --threads. The environment
// variables RIB_DIFFERENTIAL_COUNT and RIB_DIFFERENTIAL_SEED set the defaults.

#include "messages/descriptors.hpp"
#include "tests/messages/codec_check.hpp"
#include "tests/messages/random_input.hpp"
#include "tests/messages/random_record.hpp"
#include "tests/messages/random_source.hpp"
#include "tests/reference/codec_reference.hpp"

#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

struct options {
    uint64_t count = 13000;
    uint64_t seed = 20150401;
    const char *type = nullptr;
    std::optional<uint64_t> only_case;
    unsigned threads = std::max(1u, std::thread::hardware_concurrency());
};

// Cases from this number on are inputs, those below it records.
constexpr uint64_t FIRST_INPUT_CASE = uint64_t{1} << 32;

uint64_t seed_of_case(const char *type_name, uint64_t seed, uint64_t number)
{
    uint64_t hash = seed * 0x9e3779b97f4a7c15u + number;
    for (const char *at = type_name; *at != '\0'; ++at)
        hash = (hash ^ static_cast<uint8_t>(*at)) * 0x100000001b3u;
    return hash;
}

std::string hex(const byte_string &bytes)
{
    std::string text;
    char digits[4];
    for (const uint8_t byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

// An input in a block of its own size, so that a read beyond it is seen by AddressSanitizer.
class exact_copy
{
public:
    explicit exact_copy(const byte_string &bytes) : data_(new uint8_t[bytes.size()]), size_(bytes.size())
    {
        if (!bytes.empty())
            std::memcpy(data_.get(), bytes.data(), bytes.size());
    }
    const uint8_t *data() const { return data_.get(); }
    size_t size() const { return size_; }

private:
    std::unique_ptr<uint8_t[]> data_;
    size_t size_;
};

// How the decodes ended, so that a run shows that its inputs get somewhere.
struct tally {
    static constexpr size_t OUTCOMES = 5; // ZIDL_OK to ZIDL_ERR_NO_MEMORY

    std::array<uint64_t, OUTCOMES> decodes = {};
    uint64_t bytes = 0;
    uint64_t operations = 0; // of any sort

    void add(const tally &other)
    {
        for (size_t i = 0; i < OUTCOMES; ++i)
            decodes[i] += other.decodes[i];
        bytes += other.bytes;
        operations += other.operations;
    }
};

// Runs cases of one type after another. A step's text says what differed and ends the case.
class differential
{
public:
    differential() : check_(*zidl::all_messages[0]) {}

    std::string run(const zidl::message_descriptor &type, uint64_t seed, uint64_t number)
    {
        random_ = random_source(seed_of_case(type.name, seed, number));
        type_ = &type;
        input_.clear();
        check_.use(type);
        return number < FIRST_INPUT_CASE ? run_record() : run_input();
    }

    const byte_string &input() const { return input_; }
    tally outcomes() const
    {
        tally all = outcomes_;
        all.operations = check_.operations();
        return all;
    }

private:
    std::string run_record()
    {
        std::string found = random_.percent(10) ? encode_hostile_record() : "";
        if (!found.empty())
            return found;
        prepare_record(fill_at_random);
        input_ = encoding();
        found = encode_in_some_ways(input_.size());
        if (found.empty())
            found = check_.duplicate(some_memory(), some_fill());
        if (found.empty())
            found = check_.release(some_flags());
        return found.empty() ? decode_and_use() : found;
    }

    std::string run_input()
    {
        input_ = some_input();
        return decode_and_use();
    }

    // Into buffers that none of the hostile sizes fits.
    std::string encode_hostile_record()
    {
        prepare_record(fill_with_hostile_sizes);
        const uint32_t flags = some_flags();
        std::string found = check_.encode({std::nullopt, std::nullopt, flags});
        if (found.empty()) // a fast writer tries buffers of some thousand bytes
            found = check_.encode({random_.below(random_.percent(50) ? 200 : 20000), std::nullopt, flags});
        if (found.empty())
            found = check_.encode({some_limit(0), std::nullopt, flags});
        if (found.empty())
            found = check_.encode({random_.below(200), some_capacity(), some_flags()});
        return found;
    }

    template <class Fill>
    void prepare_record(Fill fill)
    {
        const random_source start = random_;
        check_.prepare([&](uint8_t *msg, test_arena &memory) {
            random_ = start;
            fill(*type_, msg, random_, memory);
        });
    }

    byte_string encoding()
    {
        byte_string bytes(codec_reference::encode(*type_, check_.record(), nullptr, 0, nullptr, nullptr, 0));
        codec_reference::encode(*type_, check_.record(), bytes.data(), bytes.size(), nullptr, nullptr, 0);
        return bytes;
    }

    std::string encode_in_some_ways(size_t full_size)
    {
        const uint32_t flags = some_flags();
        std::string found = check_.encode({std::nullopt, std::nullopt, flags});
        if (found.empty()) // enough room, or a little more
            found = check_.encode({full_size + random_.below(2) * random_.below(20), std::nullopt, flags});
        if (found.empty()) // too little room, or a list of segments
            found = check_.encode({some_room(full_size), some_capacity(), some_flags()});
        if (found.empty()) // around the sizes where the encoder changes its ways
            found = check_.encode({some_limit(full_size), std::nullopt, some_flags()});
        return found.empty() ? check_.unchanged() : found;
    }

    // Buffers of less than 4096 bytes get a copy of what was stored in a block that is 4096 bytes longer than they are.
    size_t some_limit(size_t full_size)
    {
        constexpr size_t limit = 4096;
        const size_t middle = full_size > limit && random_.percent(50) ? full_size - limit : limit;
        return std::max(middle, size_t{20}) - 20 + random_.below(40);
    }

    std::optional<size_t> some_room(size_t full_size)
    {
        if (random_.percent(10))
            return std::nullopt;
        return random_.percent(30) ? full_size + random_.below(9) : random_.below(full_size + 1);
    }

    std::optional<uint32_t> some_capacity()
    {
        if (random_.percent(30))
            return std::nullopt;
        return static_cast<uint32_t>(random_.percent(30) ? 100 + random_.below(100) : random_.below(12));
    }

    // The zero-copy bit is a coin; the others mean nothing.
    uint32_t some_flags() { return static_cast<uint32_t>(random_.percent(50) ? random_.next() : random_.below(2)); }

    uint8_t some_fill()
    {
        constexpr uint8_t FILLS[] = {0xa5, 0x5a, 0x00, 0xff};
        return FILLS[random_.below(std::size(FILLS))];
    }

    memory_plan some_memory()
    {
        if (random_.percent(5))
            return {.given = false};
        if (random_.percent(25))
            return {.failing = random_.below(random_.percent(50) ? 4 : 40), .lasting = random_.percent(30)};
        return {};
    }

    byte_string some_input()
    {
        if (random_.percent(4))
            return random_noise(random_);
        byte_string bytes;
        if (random_.percent(50)) {
            bytes = random_fields(*type_, random_);
            if (random_.percent(60))
                return bytes;
        } else {
            prepare_record(fill_at_random);
            bytes = encoding();
        }
        mutate(bytes, random_fields(*type_, random_), random_);
        return bytes;
    }

    std::string decode_and_use()
    {
        const exact_copy input(input_);
        const uint32_t flags = some_flags();
        std::string found = check_.decode(input.data(), input.size(), flags, some_memory(), some_fill());
        ++outcomes_.decodes.at(static_cast<size_t>(-check_.status()));
        outcomes_.bytes += input.size();
        if (found.empty() && random_.percent(30))
            found = check_.duplicate(some_memory(), some_fill());
        if (found.empty() && random_.percent(20))
            found = encode_in_some_ways(input.size());
        return found.empty() ? check_.release(flags) : found;
    }

    const zidl::message_descriptor *type_ = nullptr;
    random_source random_{0};
    byte_string input_;
    codec_check check_;
    tally outcomes_;
};

// What runs right now, for the handler of fatal signals.
thread_local char running_case[160];

void describe_case(const zidl::message_descriptor &type, uint64_t seed, uint64_t number)
{
    std::snprintf(running_case, sizeof running_case, "stopped in: --type %s --seed %llu --case %llu\n", type.name,
                  static_cast<unsigned long long>(seed), static_cast<unsigned long long>(number));
}

extern "C" void report_fatal_signal(int signal_number)
{
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, running_case, std::strlen(running_case));
    std::signal(signal_number, SIG_DFL);
    std::raise(signal_number);
}

class run_of_all_types
{
public:
    explicit run_of_all_types(const options &chosen) : options_(chosen) {}

    bool run()
    {
        std::vector<std::thread> workers;
        for (unsigned i = 0; i < options_.threads; ++i)
            workers.emplace_back([this] { work(); });
        for (std::thread &worker : workers)
            worker.join();
        return failures_ == 0;
    }

    void print_summary(double seconds) const
    {
        const auto number = [](uint64_t value) { return static_cast<unsigned long long>(value); };
        std::printf("%llu types, %llu records, %llu inputs, %llu operations, seed %llu: %llu types failed, %.1f s\n",
                    number(types_), number(records_), number(inputs_), number(outcomes_.operations),
                    number(options_.seed), number(failures_), seconds);
        const auto &decodes = outcomes_.decodes;
        std::printf(
            "decoded %llu bytes: %llu ok, %llu malformed, %llu bad wire type, %llu wrong wire type, %llu no memory\n",
            number(outcomes_.bytes), number(decodes[0]), number(decodes[1]), number(decodes[2]), number(decodes[3]),
            number(decodes[4]));
    }

private:
    void work()
    {
        differential both;
        for (size_t i = next_type_++; i < zidl::message_count; i = next_type_++) {
            const zidl::message_descriptor &type = *zidl::all_messages[i];
            if (options_.type != nullptr && std::strcmp(type.name, options_.type) != 0)
                continue;
            ++types_;
            if (!run_type(both, type))
                ++failures_;
        }
        const std::lock_guard<std::mutex> lock(output_);
        outcomes_.add(both.outcomes());
    }

    // The first failure ends the type's run.
    bool run_type(differential &both, const zidl::message_descriptor &type)
    {
        if (options_.only_case)
            return run_case(both, type, *options_.only_case);
        for (uint64_t i = 0; i < options_.count; ++i) {
            if (!run_case(both, type, i) || !run_case(both, type, FIRST_INPUT_CASE + i))
                return false;
            ++records_;
            ++inputs_;
        }
        return true;
    }

    bool run_case(differential &both, const zidl::message_descriptor &type, uint64_t number)
    {
        describe_case(type, options_.seed, number);
        const std::string found = both.run(type, options_.seed, number);
        if (found.empty())
            return true;
        const std::lock_guard<std::mutex> lock(output_);
        std::printf("FAILED: --type %s --seed %llu --case %llu\n  %s\n  input: %s\n", type.name,
                    static_cast<unsigned long long>(options_.seed), static_cast<unsigned long long>(number),
                    found.c_str(), hex(both.input()).c_str());
        return false;
    }

    const options &options_;
    std::atomic<size_t> next_type_ = 0;
    std::atomic<uint64_t> types_ = 0;
    std::atomic<uint64_t> records_ = 0;
    std::atomic<uint64_t> inputs_ = 0;
    std::atomic<uint64_t> failures_ = 0;
    tally outcomes_;
    std::mutex output_;
};

// The whole text as a number.
bool read_number(const char *text, uint64_t &number)
{
    const char *const end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, number);
    return error == std::errc{} && stop == end;
}

bool read_option(options &chosen, const std::string &name, const char *value)
{
    if (name == "--type") {
        chosen.type = value;
        return zidl::find_message(value) != nullptr;
    }
    uint64_t number;
    if (!read_number(value, number))
        return false;
    if (name == "--count" && number > 0)
        chosen.count = number;
    else if (name == "--seed")
        chosen.seed = number;
    else if (name == "--case")
        chosen.only_case = number;
    else if (name == "--threads" && number > 0)
        chosen.threads = static_cast<unsigned>(number);
    else
        return false;
    return true;
}

bool read_environment(options &chosen)
{
    const char *const count = std::getenv("RIB_DIFFERENTIAL_COUNT");
    const char *const seed = std::getenv("RIB_DIFFERENTIAL_SEED");
    return (count == nullptr || read_option(chosen, "--count", count)) &&
           (seed == nullptr || read_option(chosen, "--seed", seed));
}

bool read_arguments(options &chosen, int argc, char **argv)
{
    for (int i = 1; i < argc; i += 2) {
        if (i + 1 == argc || !read_option(chosen, argv[i], argv[i + 1]))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    options chosen;
    if (!read_environment(chosen) || !read_arguments(chosen, argc, argv)) {
        std::fprintf(stderr, "usage: differential_test [--count N] [--seed N] [--type NAME] [--case N] [--threads N]\n"
                             "RIB_DIFFERENTIAL_COUNT and RIB_DIFFERENTIAL_SEED take numbers, too\n");
        return 2;
    }
    for (const int fatal : {SIGSEGV, SIGBUS, SIGFPE, SIGABRT})
        std::signal(fatal, report_fatal_signal);
    const auto start = std::chrono::steady_clock::now();
    run_of_all_types all(chosen);
    const bool passed = all.run();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    all.print_summary(elapsed.count());
    return passed ? 0 : 1;
}
