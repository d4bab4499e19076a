#include "vkctl/receive/Receive.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <vector>

#include "vkctl/base/CliError.h"
#include "vkctl/base/Output.h"

namespace vkctl
{

namespace
{

// The authority's certificate on disk. A file under a name that we chose goes when we go; one that
// the user named stays.
class CAuthorityFile
{
public:
    CAuthorityFile(const std::string& wanted, const std::string& pem)
        : m_bOurs(wanted.empty()), m_strPath(wanted.empty() ? MakeName() : wanted)
    {
        std::ofstream out(m_strPath, std::ios::binary | std::ios::trunc);
        out << pem;
        out.close();
        if (!out)
        {
            throw CCliError("cannot write the certificate to " + m_strPath +
                            "; name a file that can be written with --ca-out");
        }
    }
    ~CAuthorityFile()
    {
        if (m_bOurs)
        {
            unlink(m_strPath.c_str()); // gone already is as good
        }
    }
    CAuthorityFile(const CAuthorityFile&) = delete;
    CAuthorityFile& operator=(const CAuthorityFile&) = delete;

    const std::string& Path() const { return m_strPath; }

private:
    static std::string MakeName()
    {
        std::error_code ignored; // the path below then fails with its own message
        const auto folder = std::filesystem::temp_directory_path(ignored);
        std::string name = (folder / "vkctl-ca-XXXXXX.pem").string();
        const int fd = mkstemps(name.data(), 4);
        if (fd < 0)
        {
            throw CCliError("cannot make a file for the certificate in " + folder.string() + ": " +
                            std::strerror(errno) + "; name one with --ca-out");
        }
        close(fd);
        return name;
    }

    bool m_bOurs;
    std::string m_strPath;
};

} // namespace

int run_receive(const ReceiveOptions& options, CStop& stop, std::ostream& out, std::ostream& notes)
{
    to_utf8("", options.print.encoding); // an unknown encoding is refused before anything arrives
    CReceivePrinter printer(out, options.print);
    std::atomic<size_t> arrived{0};
    CReceiveServer server(options.server,
                          [&](const ReceivedBody& body)
                          {
                              const size_t number = ++arrived;
                              if (options.count > 0 && number > options.count)
                              {
                                  return; // came in while the last one was being shown
                              }
                              if (!printer.Show(body) || number == options.count)
                              {
                                  stop.Request();
                              }
                          });
    std::unique_ptr<CAuthorityFile> authority;
    if (options.server.tls)
    {
        authority = std::make_unique<CAuthorityFile>(options.ca_out, server.AuthorityPem());
        notes << "CA certificate: " << authority->Path() << "\n";
    }
    server.Start();
    notes << "listening on " << server.Url() << std::endl;

    stop.WaitFor(options.limit);
    server.Stop();

    std::ostream& table = options.print.style == PrintStyle::kText ? out : notes;
    table << printer.Tally().Table() << std::flush;
    return out.good() ? 0 : kExitFailure;
}

int run_receive(ReceiveOptions options)
{
    options.print.color = is_color_wanted();
    options.print.width = terminal_columns();
    CStop stop;
    const int status = run_receive(options, stop, std::cout, std::cerr);
    if (!std::cout)
    {
        end_if_pipe_is_closed();
    }
    return status;
}

} // namespace vkctl
