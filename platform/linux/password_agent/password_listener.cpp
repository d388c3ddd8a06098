#include "platform/linux/password_agent/password_listener.h"

#include <utility>

#include <polkitagent/polkitagent.h>

namespace quorvane::platform::linux_::agent {
namespace {

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class Object>
using Owned = std::unique_ptr<Object, Unref>;

} // namespace

class PasswordListener::State {
public:
    explicit State(Hooks hooks);
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State();

    bool serve(pid_t process, uid_t owner);
    void answer(const char* password);
    void cancel();

    /// Begins an authentication; the task is returned when it is over.
    void begin(const Request& request, const char* cookie, GList* identities, Owned<GTask> task);

private:
    static void onRequest(PolkitAgentSession* session, const char* prompt, gboolean echo,
                          gpointer self);
    static void onCompleted(PolkitAgentSession* session, gboolean gained, gpointer self);
    static void onCancelled(GCancellable* cancellable, gpointer self);
    void startSession(PolkitIdentity* identity, const char* cookie);
    void end(Outcome outcome);

    Hooks hooks_;
    Owned<PolkitAgentListener> listener_;
    gpointer registration_ = nullptr;
    /// The authentication under way: what polkit waits for, and the prover of the user's identity.
    Owned<GTask> task_;
    Owned<PolkitAgentSession> session_;
    bool asked_ = false;
    bool waiting_ = false;
};

namespace {

/// polkit's base class of agents, with the state that answers for it.
struct Listener {
    PolkitAgentListener parent;
    PasswordListener::State* state;
};

Request makeRequest(const char* action, const char* message, GList* identities) {
    Request request{action, message, {}};
    for (GList* entry = identities; entry; entry = entry->next) {
        if (POLKIT_IS_UNIX_USER(entry->data)) {
            const int user = polkit_unix_user_get_uid(POLKIT_UNIX_USER(entry->data));
            request.users.push_back(static_cast<uid_t>(user));
        }
    }
    return request;
}

PolkitIdentity* identityOf(uid_t user, GList* identities) {
    for (GList* entry = identities; entry; entry = entry->next) {
        if (POLKIT_IS_UNIX_USER(entry->data) &&
            static_cast<uid_t>(polkit_unix_user_get_uid(POLKIT_UNIX_USER(entry->data))) == user) {
            return POLKIT_IDENTITY(entry->data);
        }
    }
    return nullptr;
}

void initiateAuthentication(PolkitAgentListener* listener, const char* action, const char* message,
                            const char* /*icon*/, PolkitDetails* /*details*/, const char* cookie,
                            GList* identities, GCancellable* cancellable,
                            GAsyncReadyCallback callback, gpointer data) {
    Owned<GTask> task(g_task_new(listener, cancellable, callback, data));
    // Being cancelled is an answer like others here: the task tells what end() says.
    g_task_set_check_cancellable(task.get(), FALSE);
    auto* const state = reinterpret_cast<Listener*>(listener)->state;
    state->begin(makeRequest(action, message, identities), cookie, identities, std::move(task));
}

gboolean finishAuthentication(PolkitAgentListener* /*listener*/, GAsyncResult* result,
                              GError** error) {
    return g_task_propagate_boolean(G_TASK(result), error);
}

void initiateClass(gpointer type, gpointer /*data*/) {
    auto* const base = static_cast<PolkitAgentListenerClass*>(type);
    base->initiate_authentication = initiateAuthentication;
    base->initiate_authentication_finish = finishAuthentication;
}

PolkitAgentListener* makeListener(PasswordListener::State* state) {
    static const GType type =
        g_type_register_static_simple(polkit_agent_listener_get_type(), "QuorvanePasswordListener",
                                      sizeof(PolkitAgentListenerClass), initiateClass,
                                      sizeof(Listener), nullptr, static_cast<GTypeFlags>(0));
    auto* const listener = static_cast<Listener*>(g_object_new(type, nullptr));
    listener->state = state;
    return &listener->parent;
}

} // namespace

PasswordListener::State::State(Hooks hooks)
    : hooks_(std::move(hooks)), listener_(makeListener(this)) {}

PasswordListener::State::~State() {
    cancel();
    if (registration_) polkit_agent_listener_unregister(registration_);
}

bool PasswordListener::State::serve(pid_t process, uid_t owner) {
    // The start time, 0 here, is looked up: it tells the process from a later one of its number.
    const Owned<PolkitSubject> subject(
        polkit_unix_process_new_for_owner(process, 0, static_cast<int>(owner)));
    registration_ =
        polkit_agent_listener_register(listener_.get(), POLKIT_AGENT_REGISTER_FLAGS_NONE,
                                       subject.get(), nullptr, nullptr, nullptr);
    return registration_ != nullptr;
}

void PasswordListener::State::begin(const Request& request, const char* cookie, GList* identities,
                                    Owned<GTask> task) {
    if (task_) {
        g_task_return_new_error(task.get(), POLKIT_ERROR, POLKIT_ERROR_CANCELLED, "busy");
        return;
    }
    task_ = std::move(task);
    const auto user = hooks_.begin(request);
    PolkitIdentity* const identity = user ? identityOf(*user, identities) : nullptr;
    if (!identity) return end(Outcome::cancelled);
    startSession(identity, cookie);
}

void PasswordListener::State::startSession(PolkitIdentity* identity, const char* cookie) {
    asked_ = waiting_ = false;
    session_.reset(polkit_agent_session_new(identity, cookie));
    g_signal_connect(session_.get(), "request", G_CALLBACK(onRequest), this);
    g_signal_connect(session_.get(), "completed", G_CALLBACK(onCompleted), this);
    if (GCancellable* const cancellable = g_task_get_cancellable(task_.get())) {
        g_signal_connect(cancellable, "cancelled", G_CALLBACK(onCancelled), this);
    }
    polkit_agent_session_initiate(session_.get());
}

void PasswordListener::State::onRequest(PolkitAgentSession* /*session*/, const char* /*prompt*/,
                                        gboolean echo, gpointer self) {
    auto& state = *static_cast<State*>(self);
    // A second question means that a password is not enough here, or was not the right one.
    if (echo || state.asked_) return state.cancel();
    state.asked_ = state.waiting_ = true;
    state.hooks_.ask();
}

void PasswordListener::State::onCompleted(PolkitAgentSession* /*session*/, gboolean gained,
                                          gpointer self) {
    static_cast<State*>(self)->end(gained ? Outcome::granted : Outcome::denied);
}

void PasswordListener::State::onCancelled(GCancellable* /*cancellable*/, gpointer self) {
    static_cast<State*>(self)->cancel();
}

void PasswordListener::State::answer(const char* password) {
    if (std::exchange(waiting_, false)) polkit_agent_session_response(session_.get(), password);
}

void PasswordListener::State::cancel() {
    if (task_) end(Outcome::cancelled);
}

void PasswordListener::State::end(Outcome outcome) {
    const Owned<GTask> task = std::move(task_);
    const Owned<PolkitAgentSession> session = std::move(session_);
    // First, for a session that is cancelled waits until what looks at the password has ended, and
    // the program that asked may end this one as soon as polkit knows.
    hooks_.end(outcome);
    if (session) {
        g_signal_handlers_disconnect_by_data(session.get(), this);
        if (outcome == Outcome::cancelled) polkit_agent_session_cancel(session.get());
        if (GCancellable* const cancellable = g_task_get_cancellable(task.get())) {
            g_signal_handlers_disconnect_by_data(cancellable, this);
        }
    }
    if (outcome == Outcome::cancelled) {
        g_task_return_new_error(task.get(), POLKIT_ERROR, POLKIT_ERROR_CANCELLED, "cancelled");
    } else {
        // polkit has learnt from the prover whether the user is who they say.
        g_task_return_boolean(task.get(), TRUE);
    }
}

PasswordListener::PasswordListener(Hooks hooks)
    : state_(std::make_unique<State>(std::move(hooks))) {}
PasswordListener::~PasswordListener() = default;

bool PasswordListener::serve(pid_t process, uid_t owner) { return state_->serve(process, owner); }
void PasswordListener::answer(const char* password) { state_->answer(password); }
void PasswordListener::cancel() { state_->cancel(); }

} // namespace quorvane::platform::linux_::agent
