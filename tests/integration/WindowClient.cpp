// An X client of its own for the window-list tests: opens the windows it is asked for, prints
// each window's id on a line of its own, and keeps them until its standard input closes. Each
// window is "INSTANCE CLASS [OPTION...]", windows separated by "+"; the options:
//   --pid N        _NET_WM_PID says N (by default this process's own pid)
//   --no-pid       no _NET_WM_PID at all
//   --machine M    WM_CLIENT_MACHINE says M (by default this machine's name)
//   --no-machine   no WM_CLIENT_MACHINE at all
//   --state ATOM   _NET_WM_STATE holds ATOM
//   --type ATOM    _NET_WM_WINDOW_TYPE holds ATOM
// Usage: kv_window_client INSTANCE CLASS [OPTION...] [+ INSTANCE CLASS [OPTION...]]...

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>

namespace {

xcb_atom_t atom(xcb_connection_t *connection, const std::string &name)
{
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, uint16_t(name.size()), name.c_str()), nullptr);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return value;
}

void setText(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t property,
             const std::string &text)
{
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, XCB_ATOM_STRING, 8,
                        uint32_t(text.size()), text.data());
}

void setAtom(xcb_connection_t *connection, xcb_window_t window, const std::string &property,
             const std::string &value)
{
    const xcb_atom_t valueAtom = atom(connection, value);
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom(connection, property),
                        XCB_ATOM_ATOM, 32, 1, &valueAtom);
}

} // namespace

int main(int argc, char *argv[])
{
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        std::fprintf(stderr, "no X server\n");
        return 1;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    char host[256] = {};
    gethostname(host, sizeof host - 1);

    std::vector<std::vector<std::string>> windows(1);
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "+") == 0) {
            windows.emplace_back();
        } else {
            windows.back().emplace_back(argv[i]);
        }
    }
    for (const std::vector<std::string> &words : windows) {
        if (words.size() < 2) {
            std::fprintf(stderr, "each window needs an instance and a class\n");
            return 2;
        }
        const xcb_window_t window = xcb_generate_id(connection);
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, root, 0, 0, 200, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        setText(connection, window, XCB_ATOM_WM_CLASS, words[0] + '\0' + words[1] + '\0');
        bool withPid = true;
        uint32_t pid = uint32_t(getpid());
        bool withMachine = true;
        std::string machine = host;
        for (std::size_t i = 2; i < words.size(); ++i) {
            const std::string &option = words[i];
            const bool hasValue = i + 1 < words.size();
            if (option == "--pid" && hasValue) {
                pid = uint32_t(std::strtoul(words[++i].c_str(), nullptr, 10));
            } else if (option == "--no-pid") {
                withPid = false;
            } else if (option == "--machine" && hasValue) {
                machine = words[++i];
            } else if (option == "--no-machine") {
                withMachine = false;
            } else if (option == "--state" && hasValue) {
                setAtom(connection, window, "_NET_WM_STATE", words[++i]);
            } else if (option == "--type" && hasValue) {
                setAtom(connection, window, "_NET_WM_WINDOW_TYPE", words[++i]);
            } else {
                std::fprintf(stderr, "unknown option %s\n", option.c_str());
                return 2;
            }
        }
        if (withPid) {
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window,
                                atom(connection, "_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1, &pid);
        }
        if (withMachine) {
            setText(connection, window, XCB_ATOM_WM_CLIENT_MACHINE, machine);
        }
        xcb_map_window(connection, window);
        std::printf("%u\n", window);
    }
    xcb_flush(connection);
    std::fflush(stdout);
    // The windows live until the test closes this end or ends the process.
    char buffer[64];
    while (read(STDIN_FILENO, buffer, sizeof buffer) > 0) {
    }
    xcb_disconnect(connection);
    return 0;
}
