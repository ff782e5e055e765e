#include "tools/ribtool/options/update_selection.hpp"

#include "tools/ribtool/explain/explanation.hpp"
#include "tools/ribtool/options/nearest_names.hpp"

#include <fmt/format.h>

#include <functional>
#include <vector>

namespace ribtool
{

bool update_selection::takes(byte_span frame)
{
    return fits(frame) != criteria_.is_inverted;
}

// A delimiter has a code, and nothing else that could be asked for.
bool update_selection::fits(byte_span frame)
{
    const uint16_t code = frame_code(frame);
    if (!criteria_.codes.empty() && !criteria_.codes.contains(code))
        return false;
    const bool asks_for_route = criteria_.has_prefixes || criteria_.ipv4 || criteria_.ipv6;
    if (!asks_for_route && criteria_.outcomes.empty() && criteria_.reasons.empty())
        return true;
    if (code == DELIMITER_CODE || (asks_for_route && code != RIB_TLV_ROUTE && code != RIB_TLV_OLD_ROUTE))
        return false;
    const byte_span payload = frame.subspan(FRAME_HEADER_LEN);
    const update_effect effect = reader_.read(code, payload);
    return (criteria_.outcomes.empty() || criteria_.outcomes.contains(effect.outcome)) &&
           (!asks_for_route || fits_route(effect)) && (criteria_.reasons.empty() || has_reason(code, payload, effect));
}

// A route that a client does not get has no prefix for it.
bool update_selection::fits_route(const update_effect &effect) const
{
    if (effect.outcome != RIB_DELIVERED)
        return false;
    const uint8_t family = effect.key.family;
    if ((criteria_.ipv4 || criteria_.ipv6) && !(criteria_.ipv4 && family == RIB_FAMILY_IPV4) &&
        !(criteria_.ipv6 && family == RIB_FAMILY_IPV6))
        return false;
    if (!criteria_.has_prefixes)
        return true;
    const std::optional<ip_prefix> prefix = prefix_of(effect.key);
    return prefix && has_prefix(*prefix);
}

bool update_selection::has_prefix(const ip_prefix &prefix) const
{
    return criteria_.prefixes.has(prefix) || (criteria_.or_longer && criteria_.prefixes.has_one_around(prefix)) ||
           (criteria_.or_shorter && criteria_.prefixes.has_one_inside(prefix));
}

// Why an update is not delivered, or why something of it is lost; none where nothing is.
bool update_selection::has_reason(uint16_t code, byte_span payload, const update_effect &effect) const
{
    if (effect.outcome != RIB_DELIVERED || code == RIB_TLV_OLD_ROUTE)
        return criteria_.reasons.contains(effect.reason);
    const explanation_handle of = explain(code, payload);
    if (of->loss_count == 0)
        return criteria_.reasons.contains(of->reason);
    for (size_t index = 0; index < of->loss_count; ++index) {
        if (criteria_.reasons.contains(of->losses[index].reason))
            return true;
    }
    return false;
}

// ---- Options ----

namespace
{

// An option whose values, in one list with commas or in several, `take` gets one by one.
CLI::Option *add_list(CLI::App &line, const std::string &name, std::function<void(const std::string &)> take,
                      const std::string &description)
{
    const auto take_all = [take = std::move(take)](const std::vector<std::string> &values) {
        for (const std::string &value : values)
            take(value);
    };
    return line.add_option_function<std::vector<std::string>>(name, take_all, description)
        ->delimiter(',')
        ->allow_extra_args(false);
}

// The values of an enum that names itself.
template <class Value>
std::vector<std::string> names_of(const char *(*name)(Value), int count)
{
    std::vector<std::string> names;
    for (int value = 0; value < count; ++value)
        names.emplace_back(name(static_cast<Value>(value)));
    return names;
}

template <class Value>
void add_names(CLI::App &line, const std::string &option, std::set<Value> &chosen, const char *(*name)(Value),
               int count, const std::string &description)
{
    const auto choose = [option, &chosen, name, count](const std::string &text) {
        for (int value = 0; value < count; ++value) {
            if (text == name(static_cast<Value>(value))) {
                chosen.insert(static_cast<Value>(value));
                return;
            }
        }
        throw CLI::ValidationError(option,
                                   fmt::format("there is no \"{}\"; the nearest are {}", text,
                                               enumerated(nearest_names(text, names_of(name, count)), " and ")));
    };
    add_list(line, option, choose, description)->option_text("NAME,...");
}

} // namespace

void add_codes(CLI::App &line, selection_criteria &criteria)
{
    line.add_option_function<std::vector<uint16_t>>(
            "--code",
            [&criteria](const std::vector<uint16_t> &given) { criteria.codes.insert(given.begin(), given.end()); },
            "Only updates of these type codes; 0 is a delimiter")
        ->option_text("CODE,...")
        ->delimiter(',')
        ->check(type_code())
        ->allow_extra_args(false);
}

void add_prefixes(CLI::App &line, selection_criteria &criteria, const std::string &description)
{
    const auto add = [&criteria](const std::string &text) {
        const std::optional<ip_prefix> prefix = parse_prefix(text);
        if (!prefix)
            throw CLI::ValidationError("--prefix", fmt::format("\"{}\" is not a prefix such as 10.0.0.0/8", text));
        criteria.prefixes.add(*prefix);
        criteria.prefixes.finish();
        criteria.has_prefixes = true;
    };
    add_list(line, "--prefix", add, description)->option_text("P,...");
}

void add_other_criteria(CLI::App &line, selection_criteria &criteria)
{
    const auto add_file = [&criteria](const std::string &path) {
        criteria.prefixes.add_file(path);
        criteria.prefixes.finish();
        criteria.has_prefixes = true;
        criteria.prefix_files.push_back(path);
    };
    line.add_option_function<std::string>("--prefix-file", add_file, "The prefixes of a file, too: one a line")
        ->option_text("FILE");
    line.add_flag("--or-longer", criteria.or_longer, "Also routes inside these prefixes");
    line.add_flag("--or-shorter", criteria.or_shorter, "Also routes around these prefixes");
    line.add_flag("-4,--ipv4", criteria.ipv4, "Only routes of IPv4");
    line.add_flag("-6,--ipv6", criteria.ipv6, "Only routes of IPv6; with -4 of both");
    add_names<rib_outcome>(line, "--outcome", criteria.outcomes, rib_outcome_name, RIB_OUTCOME_COUNT,
                           "Only updates that are delivered, dropped, stopped or refused");
    add_names<rib_reason>(line, "--reason", criteria.reasons, rib_reason_name, RIB_REASON_COUNT,
                          "Only updates that are not delivered, or of which something is lost, for these reasons");
    line.add_flag("--not", criteria.is_inverted, "All other updates instead");
}

} // namespace ribtool
