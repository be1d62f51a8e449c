#include "platform/linux/LibsecretStore.h"

#include "base/Console.h"

#include <libsecret/secret.h>

#include <cstring>
#include <functional>

namespace {

const QString kTag = QStringLiteral("⚠️ [KEYCHAIN] ");

// Items carry "service" and "account" only. DONT_MATCH_NAME: items written by other tools with the same
// two attributes (another schema name) are found and replaced as well.
const SecretSchema *schema()
{
    static const SecretSchema s = {
        "io.tarnwell.Tarnwell.Password",
        SECRET_SCHEMA_DONT_MATCH_NAME,
        {
            {"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
            {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
            {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING},
        },
    };
    return &s;
}

// The attribute table for one (service, account); keeps the UTF-8 copies alive as long as it lives.
class Attributes
{
public:
    Attributes(const QString &service, const QString &account)
        : m_service(service.toUtf8())
        , m_account(account.toUtf8())
        , m_table(g_hash_table_new(g_str_hash, g_str_equal))
    {
        g_hash_table_insert(m_table, const_cast<char *>("service"), m_service.data());
        g_hash_table_insert(m_table, const_cast<char *>("account"), m_account.data());
    }
    ~Attributes() { g_hash_table_unref(m_table); }
    Q_DISABLE_COPY_MOVE(Attributes)
    GHashTable *table() const { return m_table; }

private:
    QByteArray m_service;
    QByteArray m_account;
    GHashTable *m_table;
};

// Result of one asynchronous call; heap-allocated so that a call abandoned after its time limit can
// never write into a dead stack frame.
struct Pending
{
    GAsyncResult *result = nullptr;
    bool timedOut = false;
};

void onFinished(GObject *, GAsyncResult *result, gpointer data)
{
    static_cast<Pending *>(data)->result = G_ASYNC_RESULT(g_object_ref(result));
}

gboolean onTimeLimit(gpointer data)
{
    static_cast<Pending *>(data)->timedOut = true;
    return G_SOURCE_REMOVE;
}

// Runs one asynchronous libsecret call on a private main context of the calling thread and waits for it,
// at most `limit` (then the call is cancelled). Returns the finished result (caller unrefs) or null when
// even the cancellation did not come back; `timedOut` tells whether the limit was hit.
using Starter = std::function<void(GCancellable *, GAsyncReadyCallback, gpointer)>;
GAsyncResult *runBounded(const Starter &start, std::chrono::milliseconds limit, bool &timedOut)
{
    GMainContext *context = g_main_context_new();
    g_main_context_push_thread_default(context);
    GCancellable *cancellable = g_cancellable_new();
    auto *pending = new Pending;

    start(cancellable, onFinished, pending);

    GSource *timer = g_timeout_source_new(guint(limit.count()));
    g_source_set_callback(timer, onTimeLimit, pending, nullptr);
    g_source_attach(timer, context);
    while (!pending->result && !pending->timedOut)
        g_main_context_iteration(context, TRUE);
    g_source_destroy(timer);
    g_source_unref(timer);

    timedOut = pending->timedOut && !pending->result;
    if (timedOut) {
        // A cancelled D-Bus call returns promptly; give it a short, bounded grace period.
        g_cancellable_cancel(cancellable);
        pending->timedOut = false;
        GSource *grace = g_timeout_source_new(2000);
        g_source_set_callback(grace, onTimeLimit, pending, nullptr);
        g_source_attach(grace, context);
        while (!pending->result && !pending->timedOut)
            g_main_context_iteration(context, TRUE);
        g_source_destroy(grace);
        g_source_unref(grace);
    }

    GAsyncResult *result = pending->result;
    if (result)
        delete pending;
    // else: the call never came back; `pending` is deliberately left alive for its callback.

    g_object_unref(cancellable);
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
    return result;
}

QString errorText(GError *error)
{
    return error ? QString::fromUtf8(error->message) : QStringLiteral("unknown error");
}

void reportFailure(const QString &what, const QString &account, GError *error, bool timedOut,
                   std::chrono::milliseconds limit)
{
    if (timedOut) {
        Console::line(kTag % what % QStringLiteral(" for ") % account
                      % QStringLiteral(": the Secret Service did not answer within ")
                      % QString::number(limit.count() / 1000.0) % QStringLiteral(" s (locked keyring?)"));
    } else {
        Console::line(kTag % what % QStringLiteral(" for ") % account % QStringLiteral(": ") % errorText(error));
    }
}

} // namespace

LibsecretStore::LibsecretStore(std::chrono::milliseconds timeLimit)
    : m_timeLimit(timeLimit)
{
}

bool LibsecretStore::save(const QString &service, const QString &account, const QString &secret)
{
    Attributes attributes(service, account);
    const QByteArray label = (service + QStringLiteral(": ") + account).toUtf8();
    QByteArray value = secret.toUtf8();
    bool timedOut = false;
    GAsyncResult *result = runBounded(
        [&](GCancellable *cancellable, GAsyncReadyCallback callback, gpointer data) {
            secret_password_storev(schema(), attributes.table(), SECRET_COLLECTION_DEFAULT, label.constData(),
                                   value.constData(), cancellable, callback, data);
        },
        m_timeLimit, timedOut);
    // libsecret copied the secret into its own (non-pageable) memory when the call started.
    std::memset(value.data(), 0, size_t(value.size()));

    GError *error = nullptr;
    const bool ok = result && secret_password_store_finish(result, &error);
    if (!ok)
        reportFailure(QStringLiteral("Could not save password"), account, error, timedOut, m_timeLimit);
    if (error)
        g_error_free(error);
    if (result)
        g_object_unref(result);
    return ok;
}

std::optional<QString> LibsecretStore::load(const QString &service, const QString &account)
{
    Attributes attributes(service, account);
    bool timedOut = false;
    GAsyncResult *result = runBounded(
        [&](GCancellable *cancellable, GAsyncReadyCallback callback, gpointer data) {
            secret_password_lookupv(schema(), attributes.table(), cancellable, callback, data);
        },
        m_timeLimit, timedOut);
    GError *error = nullptr;
    gchar *value = result ? secret_password_lookup_finish(result, &error) : nullptr;
    std::optional<QString> secret;
    if (value) {
        secret = QString::fromUtf8(value);
        secret_password_free(value); // wipes the copy
    } else if (error || !result) {
        reportFailure(QStringLiteral("Could not read password"), account, error, timedOut, m_timeLimit);
    }
    if (error)
        g_error_free(error);
    if (result)
        g_object_unref(result);
    return secret;
}

bool LibsecretStore::remove(const QString &service, const QString &account)
{
    Attributes attributes(service, account);
    bool timedOut = false;
    GAsyncResult *result = runBounded(
        [&](GCancellable *cancellable, GAsyncReadyCallback callback, gpointer data) {
            secret_password_clearv(schema(), attributes.table(), cancellable, callback, data);
        },
        m_timeLimit, timedOut);
    GError *error = nullptr;
    if (result)
        secret_password_clear_finish(result, &error); // false without error: nothing was there
    const bool ok = result && !error;
    if (!ok)
        reportFailure(QStringLiteral("Could not remove password"), account, error, timedOut, m_timeLimit);
    if (error)
        g_error_free(error);
    if (result)
        g_object_unref(result);
    return ok;
}

int LibsecretStore::itemCount(const QString &service, const QString &account)
{
    Attributes attributes(service, account);
    bool timedOut = false;
    GAsyncResult *result = runBounded(
        [&](GCancellable *cancellable, GAsyncReadyCallback callback, gpointer data) {
            secret_password_searchv(schema(), attributes.table(), SECRET_SEARCH_ALL, cancellable, callback, data);
        },
        m_timeLimit, timedOut);
    if (!result) {
        reportFailure(QStringLiteral("Could not search passwords"), account, nullptr, timedOut, m_timeLimit);
        return -1;
    }
    GError *error = nullptr;
    GList *items = secret_password_search_finish(result, &error);
    int count = -1;
    if (error)
        reportFailure(QStringLiteral("Could not search passwords"), account, error, false, m_timeLimit);
    else
        count = int(g_list_length(items));
    g_list_free_full(items, g_object_unref);
    if (error)
        g_error_free(error);
    g_object_unref(result);
    return count;
}
