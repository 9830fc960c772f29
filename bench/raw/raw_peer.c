/* Peers for the benchmarks on bare sd-bus. Says "ready" on standard output when all of them are on the bus.
 *
 *     raw_peer provider NAME TEXT-BYTES          a provider of one device "d", the floor of what answering can cost
 *     raw_peer foreign COUNT OBJECTS METHODS     COUNT processes with a name and a tree of objects of their own
 */

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <sys/prctl.h>
#include <unistd.h>

#include <systemd/sd-bus.h>

static char* text;

static void check(int result, const char* what)
{
    if (result >= 0)
        return;
    fprintf(stderr, "raw_peer: %s: %s\n", what, strerror(-result));
    exit(EXIT_FAILURE);
}

static int on_device_list(sd_bus_message* call, void* userdata, sd_bus_error* error)
{
    (void)userdata;
    (void)error;
    return sd_bus_reply_method_return(call, "as", 1, "d");
}

static int on_device_id(sd_bus_message* call, void* userdata, sd_bus_error* error)
{
    const char* id;
    (void)userdata;
    (void)error;
    const int result = sd_bus_message_read(call, "s", &id);
    return result < 0 ? result : sd_bus_reply_method_return(call, "isb", 0, text, 0);
}

static int on_set_device_id(sd_bus_message* call, void* userdata, sd_bus_error* error)
{
    (void)userdata;
    (void)error;
    return sd_bus_reply_method_return(call, "i", 0);
}

static const sd_bus_vtable provider_vtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("deviceList", "", "as", on_device_list, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("deviceId", "s", "isb", on_device_id, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("setDeviceId", "ss", "i", on_set_device_id, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

static void serve(sd_bus* bus)
{
    for (;;)
    {
        const int result = sd_bus_process(bus, NULL);
        check(result, "processing");
        if (result == 0)
            check(sd_bus_wait(bus, UINT64_MAX), "waiting");
    }
}

static void say_ready(void)
{
    puts("ready");
    fflush(stdout);
}

static void provide(const char* name, size_t bytes)
{
    sd_bus* bus = NULL;
    text = calloc(1, bytes + 1);
    memset(text, 'x', bytes);
    check(sd_bus_open_user(&bus), "opening the bus");
    check(sd_bus_add_object_vtable(bus, NULL, "/com/tolvek/orvan/deviceid", "com.tolvek.orvan.deviceid.interface",
                                   provider_vtable, NULL),
          "exporting the object");
    check(sd_bus_request_name(bus, name, 0), name);
    say_ready();
    serve(bus);
}

/* An interface with so many methods, as a service manager or a network manager has them. */
static sd_bus_vtable* fat_vtable(size_t methods)
{
    sd_bus_vtable* table = calloc(methods + 2, sizeof(*table));
    const sd_bus_vtable model[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Method", "ssa{sv}", "oa(uosso)", on_set_device_id, 0),
        SD_BUS_VTABLE_END,
    };
    table[0] = model[0];
    for (size_t i = 1; i <= methods; ++i)
    {
        char* name = NULL;
        table[i] = model[1];
        check(asprintf(&name, "Method%zu", i), "naming a method");
        table[i].x.method.member = name;
    }
    table[methods + 1] = model[2];
    return table;
}

static void be_foreign(int number, size_t objects, size_t methods, int ready)
{
    char name[64];
    sd_bus* bus = NULL;
    sd_bus_vtable* table = fat_vtable(methods);
    check(sd_bus_open_user(&bus), "opening the bus");
    for (size_t i = 0; i < objects; ++i)
    {
        char path[64];
        snprintf(path, sizeof(path), "/org/example/foreign/object%zu", i);
        check(sd_bus_add_object_vtable(bus, NULL, path, "org.example.Foreign", table, NULL), "exporting an object");
    }
    snprintf(name, sizeof(name), "org.example.Foreign%d.With%zu", number, objects);
    check(sd_bus_request_name(bus, name, 0), name);
    check(write(ready, "", 1) == 1 ? 0 : -1, "saying that it is ready");
    close(ready);
    serve(bus);
}

static void be_many_foreign(int count, size_t objects, size_t methods)
{
    int ready[2];
    check(pipe(ready) == 0 ? 0 : -1, "pipe");
    for (int number = 0; number < count; ++number)
    {
        const pid_t child = fork();
        check(child >= 0 ? 0 : -1, "fork");
        if (child == 0 && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0)
            be_foreign(number, objects, methods, ready[1]);
    }
    close(ready[1]);
    for (int number = 0; number < count; ++number)
    {
        char byte;
        check(read(ready[0], &byte, 1) == 1 ? 0 : -1, "waiting for a peer");
    }
    say_ready();
    pause();
}

int main(int argc, char** argv)
{
    if (argc == 4 && strcmp(argv[1], "provider") == 0)
        provide(argv[2], (size_t)atol(argv[3]));
    else if (argc == 5 && strcmp(argv[1], "foreign") == 0)
        be_many_foreign(atoi(argv[2]), (size_t)atol(argv[3]), (size_t)atol(argv[4]));
    fprintf(stderr, "usage: raw_peer provider NAME TEXT-BYTES | raw_peer foreign COUNT OBJECTS METHODS\n");
    return EXIT_FAILURE;
}
