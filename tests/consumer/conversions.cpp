// Calls what needs no bus, through the installed headers and library alone.

#include <deviceid/info.h>
#include <deviceid/vel_conversion.h>

#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>

namespace
{

namespace DeviceId = Tolvek::Orvan::DeviceId;

void require(bool holds, const char* claim)
{
    if (holds)
        return;
    std::cerr << "Does not hold: " << claim << '\n';
    std::exit(EXIT_FAILURE);
}

// The exception's type must be the same one on both sides of the library's boundary.
bool refuses(const std::string& vel)
{
    try
    {
        static_cast<void>(DeviceId::velToDeviceIdXml(vel));
    }
    catch (const std::invalid_argument&)
    {
        return true;
    }
    return false;
}

} // namespace

int main()
{
    const std::string vel = "VEL/T;U=Base Unit;P=100200;S=0042;L=Plant 7;D=2021-03-05;E=2.10";
    const std::string xml = DeviceId::velToDeviceIdXml(vel);
    require(DeviceId::extractVelFromDeviceIdXml(xml) == vel, "a VEL string survives the conversion");

    const auto info = DeviceId::Info::parse(xml);
    require(info.partNumber() == "100200" && info.serialNumber() == "0042", "the numbers are read");
    require(info.name() == "Base Unit" && info.producedAt() == "Plant 7", "name and place are read");
    require(refuses("no VEL string"), "what is no VEL string is refused");
    return EXIT_SUCCESS;
}
