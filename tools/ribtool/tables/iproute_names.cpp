#include "tools/ribtool/tables/iproute_names.hpp"

#include "tools/ribtool/tables/text_fields.hpp"

#include <linux/rtnetlink.h>

#include <fstream>
#include <sstream>

namespace ribtool
{

namespace
{

// Later files have the last word, as with ip.
void add_file(name_numbers &names, const std::string &file)
{
    for (const char *folder : {"/usr/share/iproute2/", "/etc/iproute2/"}) {
        std::ifstream stream(folder + file);
        for (std::string line; std::getline(stream, line);) {
            std::istringstream words(line); // a remark has no number in front
            uint32_t number = 0;
            std::string name;
            if (words >> number >> name)
                names.insert_or_assign(name, number);
        }
    }
}

} // namespace

name_numbers table_numbers()
{
    name_numbers names = {{"default", RT_TABLE_DEFAULT}, {"main", RT_TABLE_MAIN}, {"local", RT_TABLE_LOCAL}};
    add_file(names, "rt_tables");
    return names;
}

name_numbers protocol_numbers()
{
    name_numbers names = {{"redirect", RTPROT_REDIRECT}, {"kernel", RTPROT_KERNEL}, {"boot", RTPROT_BOOT},
                          {"static", RTPROT_STATIC},     {"ra", RTPROT_RA},         {"dhcp", RTPROT_DHCP}};
    add_file(names, "rt_protos");
    return names;
}

std::optional<uint32_t> number_of(const name_numbers &names, std::string_view text)
{
    if (const auto found = names.find(text); found != names.end())
        return found->second;
    return parse_number<uint32_t>(text);
}

} // namespace ribtool
