#include "tools/tool_runner.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace {

void applyEnvironment(const std::vector<std::string>& env) {
  for (const std::string& entry : env) {
    size_t eq = entry.find('=');
    std::string name = entry.substr(0, eq);
    std::string value = eq == std::string::npos ? "" : entry.substr(eq + 1);
    if (eq == std::string::npos || value.empty())
      unsetenv(name.c_str());
    else
      setenv(name.c_str(), value.c_str(), 1);
  }
}

}  // namespace

ToolResult runTool(const std::vector<std::string>& args, const std::string& input,
                   const std::vector<std::string>& env) {
  ToolResult result;
  int in[2], out[2], err[2];
  if (pipe(in) != 0 || pipe(out) != 0 || pipe(err) != 0) return result;
  pid_t pid = fork();
  if (pid == 0) {
    dup2(in[0], 0);
    dup2(out[1], 1);
    dup2(err[1], 2);
    for (int fd : {in[0], in[1], out[0], out[1], err[0], err[1]}) close(fd);
    applyEnvironment(env);
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(VX_TOOL));
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execv(VX_TOOL, argv.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  close(err[1]);
  // Feed stdin and drain both outputs together so that no pipe fills up.
  size_t written = 0;
  if (input.empty()) close(in[1]);
  fcntl(in[1], F_SETFL, O_NONBLOCK);
  bool inOpen = !input.empty(), outOpen = true, errOpen = true;
  char buf[65536];
  while (outOpen || errOpen) {
    pollfd fds[3] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}, {inOpen ? in[1] : -1, POLLOUT, 0}};
    if (poll(fds, 3, -1) < 0) break;
    if (fds[2].revents & (POLLOUT | POLLERR | POLLHUP)) {
      ssize_t n = write(in[1], input.data() + written, input.size() - written);
      if (n > 0) written += size_t(n);
      if (n < 0 || written == input.size()) {
        close(in[1]);
        inOpen = false;
      }
    }
    for (int i = 0; i < 2; ++i) {
      if (!(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      ssize_t n = read(fds[i].fd, buf, sizeof buf);
      if (n > 0) {
        (i == 0 ? result.out : result.err).append(buf, size_t(n));
      } else {
        close(fds[i].fd);
        (i == 0 ? outOpen : errOpen) = false;
      }
    }
  }
  if (inOpen) close(in[1]);
  int status = 0;
  waitpid(pid, &status, 0);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}
