// SPDX-License-Identifier: GPL-2.0-or-later
#include "vnet/host/netlink.hh"

#include "vnet/values/error.hh"

#include <cerrno>
#include <cstring>
#include <exception>
#include <linux/netlink.h>
#include <netlink/errno.h>
#include <netlink/handlers.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>
#include <new>
#include <sys/socket.h>

namespace vnet::host {

namespace {

// A change that keeps coming shouldn't keep us for ever.
constexpr int maxDumpAttempts = 100;

// What came back for one request.
struct Answer {
   explicit Answer(NetlinkSocket::Handler const& handlerOfCaller) : handler(handlerOfCaller) {}

   NetlinkSocket::Handler const& handler;
   int error = 0;
   bool done = false;
   bool interrupted = false;
   std::string kernelWords;
   std::exception_ptr thrown; // may not pass through libnl, which is C
};

// The kernel's own words, which follow an error's copy of the request's header (NETLINK_CAP_ACK).
std::string ReadKernelWords(nlmsghdr const* message)
{
   if (!(message->nlmsg_flags & NLM_F_ACK_TLVS)) {
      return {};
   }
   std::size_t skipped = sizeof(nlmsgerr);
   auto const* error = GetHeader<nlmsgerr>(message);
   if (error && error->error && !(message->nlmsg_flags & NLM_F_CAPPED)) {
      skipped += error->msg.nlmsg_len - sizeof error->msg;
   }
   return Attributes(message, skipped).GetString(NLMSGERR_ATTR_MSG);
}

int OnValid(nl_msg* message, void* argument)
{
   auto& answer = *static_cast<Answer*>(argument);
   try {
      if (answer.handler && !answer.thrown) {
         answer.handler(nlmsg_hdr(message));
      }
   } catch (...) {
      answer.thrown = std::current_exception();
   }
   return NL_OK;
}

int OnAcknowledged(nl_msg*, void* argument)
{
   static_cast<Answer*>(argument)->done = true;
   return NL_STOP;
}

// The end of a dump, which may have failed on its way.
int OnFinished(nl_msg* message, void* argument)
{
   auto& answer = *static_cast<Answer*>(argument);
   if (auto const* status = GetHeader<int>(nlmsg_hdr(message)); status && *status < 0) {
      answer.error = -*status;
   }
   answer.done = true;
   return NL_STOP;
}

int OnInterrupted(nl_msg*, void* argument)
{
   static_cast<Answer*>(argument)->interrupted = true;
   return NL_OK;
}

int OnError(sockaddr_nl*, nlmsgerr* error, void* argument)
{
   auto& answer = *static_cast<Answer*>(argument);
   answer.error = -error->error;
   answer.done = true;
   auto const* message =
      reinterpret_cast<nlmsghdr const*>(reinterpret_cast<char const*>(error) - NLMSG_HDRLEN);
   answer.kernelWords = ReadKernelWords(message);
   return NL_STOP;
}

struct FreeCallbacks {
   void operator()(nl_cb* freed) const { nl_cb_put(freed); }
};

std::unique_ptr<nl_cb, FreeCallbacks> MakeCallbacks(Answer& answer)
{
   std::unique_ptr<nl_cb, FreeCallbacks> callbacks(nl_cb_alloc(NL_CB_DEFAULT));
   if (!callbacks) {
      throw std::bad_alloc();
   }
   nl_cb_set(callbacks.get(), NL_CB_VALID, NL_CB_CUSTOM, OnValid, &answer);
   nl_cb_set(callbacks.get(), NL_CB_FINISH, NL_CB_CUSTOM, OnFinished, &answer);
   nl_cb_set(callbacks.get(), NL_CB_ACK, NL_CB_CUSTOM, OnAcknowledged, &answer);
   nl_cb_set(callbacks.get(), NL_CB_DUMP_INTR, NL_CB_CUSTOM, OnInterrupted, &answer);
   nl_cb_err(callbacks.get(), NL_CB_CUSTOM, OnError, &answer);
   return callbacks;
}

// Waits for the end of the answer to the request just sent. Returns a libnl error.
int Receive(nl_sock* socket, Answer& answer)
{
   auto const callbacks = MakeCallbacks(answer);
   while (!answer.done) {
      int const result = nl_recvmsgs(socket, callbacks.get());
      if (result < 0 && result != -NLE_INTR && !answer.done) {
         return result;
      }
   }
   return 0;
}

int Send(nl_sock* socket, nl_msg* message)
{
   int result;
   do {
      result = nl_send_auto(socket, message);
   } while (result == -NLE_INTR);
   return result;
}

// Sends the request and waits for the end of its answer. Returns a libnl error.
int Exchange(nl_sock* socket, nl_msg* message, Answer& answer)
{
   int const error = Send(socket, message);
   return error < 0 ? error : Receive(socket, answer);
}

} // namespace

NetlinkSocket::NetlinkSocket(int netlinkProtocol) : protocol(netlinkProtocol), socket(Open()) {}

NetlinkSocket::Handle NetlinkSocket::Open() const
{
   Handle opened(nl_socket_alloc());
   if (!opened) {
      throw std::bad_alloc();
   }
   // libnl opens it close-on-exec.
   if (int const error = nl_connect(opened.get(), protocol); error < 0) {
      throw Error("open", "a netlink socket", nl_geterror(error));
   }
   int const on = 1;
   int const descriptor = nl_socket_get_fd(opened.get());
   setsockopt(descriptor, SOL_NETLINK, NETLINK_EXT_ACK, &on, sizeof on);
   setsockopt(descriptor, SOL_NETLINK, NETLINK_CAP_ACK, &on, sizeof on);
   // Without it the kernel filters some dumps by nothing and answers old forms of others.
   setsockopt(descriptor, SOL_NETLINK, NETLINK_GET_STRICT_CHK, &on, sizeof on);
   nl_socket_enable_msg_peek(opened.get());
   return opened;
}

void NetlinkSocket::Free::operator()(nl_sock* freed) const
{
   nl_socket_free(freed);
}

int NetlinkSocket::Fail(int error, std::string const& kernelWords)
{
   cause = strerror(error);
   if (!kernelWords.empty()) {
      cause += " (" + kernelWords + ")";
   }
   return error;
}

// After an exchange that broke off, its answer may still come, and libnl may wait for that: the
// socket is put back only when all is well, and the next request gets a new one.
int NetlinkSocket::Try(Request& request, Handler const& handler)
{
   auto used = socket ? std::move(socket) : Open();
   nlmsg_hdr(request.Get())->nlmsg_seq = NL_AUTO_SEQ;
   nlmsg_hdr(request.Get())->nlmsg_flags |= NLM_F_ACK;
   Answer answer(handler);
   if (int const error = Exchange(used.get(), request.Get(), answer); error < 0) {
      return Fail(EIO, nl_geterror(error));
   }
   socket = std::move(used);
   if (answer.thrown) {
      std::rethrow_exception(answer.thrown);
   }
   return answer.error ? Fail(answer.error, answer.kernelWords) : answer.interrupted ? EINTR : 0;
}

void NetlinkSocket::Run(Request& request, std::string const& action, std::string const& object,
                        Handler const& handler)
{
   if (Try(request, handler)) {
      throw Error(action, object, cause);
   }
}

void NetlinkSocket::Dump(Request& request, std::string const& object,
                         std::function<void()> const& restart, Handler const& handler)
{
   nlmsg_hdr(request.Get())->nlmsg_flags |= NLM_F_DUMP;
   for (int attempt = 0; attempt < maxDumpAttempts; ++attempt) {
      restart();
      int const error = Try(request, handler);
      if (error == 0) {
         return;
      }
      if (error != EINTR) {
         throw Error("list", object, cause);
      }
   }
   throw Error("list", object, "It changes all the time");
}

RouteSocket::RouteSocket() : NetlinkSocket(NETLINK_ROUTE) {}

} // namespace vnet::host
