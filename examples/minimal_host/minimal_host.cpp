// The whole road of an embedding host: start the services, initialise the module, make a
// Connection object, unwrap its session handle from a host value, connect, transfer, destroy.
//
//     minimal_host SERVER PORT USER LOCAL-FILE REMOTE-FILE
//
// uploads a file over plain FTP and fetches it back as LOCAL-FILE.back. The password is read from
// the environment variable MINIMAL_HOST_PASSWORD.

#include <fl/i18n/ustring_conversion.hpp>
#include <foundation/core/except.hpp>
#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>
#include <tx/array.hpp>
#include <zobs/class.hpp>
#include <zobs/object.hpp>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace core = tarnix::io::ftp::core;

namespace {

/// A value as a script would hold it: one Connection object in a 1-by-1 array.
txArray make_connection()
{
    const auto* type = zobs::COSClass::getClass(zobs::Name("tarnix.io.internal.Connection"));
    if (!type)
        throw std::runtime_error("the module has not registered its class");
    return {txArray::dimension_list{1, 1}, {zobs::omCreateObject(*type)}};
}

void upload_and_fetch_back(core::curl_ptr& handle, const std::string& local,
                           const std::string& remote)
{
    const auto to_host = fl::i18n::utf8_to_ustring;
    core::send_file(handle, to_host(local), to_host(remote), false);
    std::cout << "uploaded " << local << " as " << remote << '\n';
    core::receive_file(handle, to_host(remote), to_host(local + ".back"), false);
    std::cout << "fetched it back as " << local << ".back\n";
}

int run(const std::vector<std::string>& arguments)
{
    // Registers the services that the library looks up; must outlive every connection.
    const tarnix::host::standalone services;
    TXInitialize_FTPCoreModule();
    {
        const auto value = make_connection();
        auto& handle = core::get_curl_ptr(&value);
        const char* password = std::getenv("MINIMAL_HOST_PASSWORD");
        const auto folder =
            core::connect(handle, "ftp://" + arguments[0], arguments[2], password ? password : "",
                          std::stol(arguments[1]), "passive", "none", false, "", true, true, 1, 30);
        std::cout << "connected, working folder " << folder << '\n';
        upload_and_fetch_back(handle, arguments[3], arguments[4]);
    } // The last reference to the object is gone, and with it the connection.
    std::cout << "disconnected\n";
    TXTerminate_FTPCoreModule();
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char* argv[])
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() != 5) {
        std::cerr << "usage: minimal_host SERVER PORT USER LOCAL-FILE REMOTE-FILE\n";
        return 2;
    }
    try {
        return run(arguments);
    } catch (const foundation::core::except::IMsgIDException& failure) {
        std::cerr << tarnix::host::message_text(failure.message_id()) << '\n';
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
    }
    return EXIT_FAILURE;
}
