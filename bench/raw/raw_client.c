#include "raw_client.h"

#include <errno.h>
#include <poll.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <systemd/sd-bus.h>

#define INTERFACE "com.tolvek.orvan.deviceid.interface"
#define PREFIX "com.tolvek.orvan.deviceid"
#define ROOT "/com/tolvek/orvan"
#define MIRROR "/com/tolvek/orvan/deviceid"
#define WINDOW 32
#define TIMEOUT_USEC 2000000
#define MAX_PATH 256
#define MAX_QUESTIONS 4096

struct discovery;

struct question
{
    struct discovery* discovery;
    const char* peer;
    char path[MAX_PATH];
};

struct discovery
{
    sd_bus* bus;
    struct question questions[MAX_QUESTIONS];
    size_t queued, sent, answered;
    int found;
};

static int open_bus(sd_bus** bus)
{
    return sd_bus_open_user(bus);
}

static int read_device(sd_bus* bus, const char* bus_name, const char* device_id)
{
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_message* reply = NULL;
    int status, is_main, result;
    const char* xml;

    result = sd_bus_call_method(bus, bus_name, MIRROR, INTERFACE, "deviceId", &error, &reply, "s", device_id);
    if (result >= 0)
        result = sd_bus_message_read(reply, "isb", &status, &xml, &is_main);
    if (result >= 0 && status != 0)
        result = -EIO;
    sd_bus_message_unref(reply);
    sd_bus_error_free(&error);
    return result;
}

static int list_names(sd_bus* bus, char*** names)
{
    sd_bus_message* reply = NULL;
    int result = sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                    "ListNames", NULL, &reply, "");
    if (result >= 0)
        result = sd_bus_message_read_strv(reply, names);
    sd_bus_message_unref(reply);
    return result;
}

static void free_names(char** names)
{
    for (char** name = names; name != NULL && *name != NULL; ++name)
        free(*name);
    free(names);
}

static int is_askable(const char* name)
{
    return name[0] != ':' && strcmp(name, "org.freedesktop.DBus") != 0;
}

static int is_likely(const char* name)
{
    const size_t length = strlen(PREFIX);
    return strncmp(name, PREFIX, length) == 0 && (name[length] == '.' || name[length] == '\0');
}

/* False if the path is too long, as no honest one is. */
static int join_path(char* path, const char* parent, const char* child, size_t child_length)
{
    const char* separator = child_length == 0 || parent[1] == '\0' ? "" : "/";
    const int length = snprintf(path, MAX_PATH, "%s%s%.*s", parent, separator, (int)child_length, child);
    return length > 0 && length < MAX_PATH;
}

static void queue_question(struct discovery* discovery, const char* peer, const char* parent, const char* child,
                           size_t child_length)
{
    if (discovery->queued == MAX_QUESTIONS)
        return;
    struct question* question = &discovery->questions[discovery->queued];
    if (!join_path(question->path, parent, child, child_length))
        return;
    for (size_t i = discovery->queued; i-- > 0;)
    {
        if (discovery->questions[i].peer == peer && strcmp(discovery->questions[i].path, question->path) == 0)
            return;
    }
    question->discovery = discovery;
    question->peer = peer;
    ++discovery->queued;
}

/* Enough of a parser for what honest peers answer; the floor of what reading an answer can cost. */
static void take_text(struct question* question, const char* xml)
{
    static const char node[] = "<node name=\"";
    if (strstr(xml, "<interface name=\"" INTERFACE "\"") != NULL)
        ++question->discovery->found;
    for (const char* child = strstr(xml, node); child != NULL; child = strstr(child, node))
    {
        child += sizeof(node) - 1;
        queue_question(question->discovery, question->peer, question->path, child, strcspn(child, "\""));
    }
}

static int on_answer(sd_bus_message* reply, void* userdata, sd_bus_error* error)
{
    struct question* question = userdata;
    const char* xml;

    (void)error;
    ++question->discovery->answered;
    if (!sd_bus_message_is_method_error(reply, NULL) && sd_bus_message_read(reply, "s", &xml) >= 0)
        take_text(question, xml);
    return 0;
}

static int ask(struct question* question)
{
    sd_bus_message* call = NULL;
    int result = sd_bus_message_new_method_call(question->discovery->bus, &call, question->peer, question->path,
                                                "org.freedesktop.DBus.Introspectable", "Introspect");
    if (result >= 0)
        result = sd_bus_call_async(question->discovery->bus, NULL, call, on_answer, question, TIMEOUT_USEC);
    sd_bus_message_unref(call);
    return result;
}

static int discover(struct discovery* discovery, char** names)
{
    for (char** name = names; name != NULL && *name != NULL; ++name)
    {
        if (!is_askable(*name))
            continue;
        if (is_likely(*name))
            queue_question(discovery, *name, MIRROR, "", 0);
        queue_question(discovery, *name, ROOT, "", 0);
    }
    while (discovery->answered < discovery->queued)
    {
        int result = 0;
        while (result >= 0 && discovery->sent < discovery->queued && discovery->sent - discovery->answered < WINDOW)
            result = ask(&discovery->questions[discovery->sent++]);
        while (result >= 0 && (result = sd_bus_process(discovery->bus, NULL)) > 0)
            ;
        const int nothing_to_send =
            discovery->sent == discovery->queued || discovery->sent - discovery->answered == WINDOW;
        if (result >= 0 && discovery->answered < discovery->queued && nothing_to_send)
            result = sd_bus_wait(discovery->bus, UINT64_MAX);
        if (result < 0)
            return result;
    }
    return 0;
}

int raw_read(const char* bus_name, const char* device_id)
{
    struct discovery* discovery = calloc(1, sizeof(*discovery));
    char** names = NULL;
    int result = discovery == NULL ? -ENOMEM : open_bus(&discovery->bus);

    if (result >= 0)
        result = list_names(discovery->bus, &names);
    if (result >= 0)
        result = discover(discovery, names);
    if (result >= 0)
        result = read_device(discovery->bus, bus_name, device_id);
    if (result >= 0)
        result = discovery->found;
    free_names(names);
    if (discovery != NULL)
        sd_bus_flush_close_unref(discovery->bus);
    free(discovery);
    return result;
}

static int walk(sd_bus* bus, const char* peer, const char* path)
{
    static const char node[] = "<node name=\"";
    sd_bus_message* reply = NULL;
    const char* xml;
    int found = 0;

    if (sd_bus_call_method(bus, peer, path, "org.freedesktop.DBus.Introspectable", "Introspect", NULL, &reply, "") >=
            0 &&
        sd_bus_message_read(reply, "s", &xml) >= 0)
    {
        found += strstr(xml, "<interface name=\"" INTERFACE "\"") != NULL;
        for (const char* child = strstr(xml, node); child != NULL; child = strstr(child, node))
        {
            char below[MAX_PATH];
            child += sizeof(node) - 1;
            if (join_path(below, path, child, strcspn(child, "\"")))
                found += walk(bus, peer, below);
        }
    }
    sd_bus_message_unref(reply);
    return found;
}

int naive_read(const char* bus_name, const char* device_id)
{
    sd_bus* bus = NULL;
    char** names = NULL;
    int found = 0;
    int result = open_bus(&bus);

    if (result >= 0)
        result = list_names(bus, &names);
    for (char** name = names; name != NULL && *name != NULL; ++name)
    {
        if (is_askable(*name))
            found += walk(bus, *name, "/");
    }
    if (result >= 0)
        result = read_device(bus, bus_name, device_id);
    free_names(names);
    sd_bus_flush_close_unref(bus);
    return result < 0 ? result : found;
}
