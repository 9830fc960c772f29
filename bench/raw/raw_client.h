#pragma once

/* Baselines for the client: the same work on bare sd-bus, without the library. */

#ifdef __cplusplus
extern "C"
{
#endif

    /* Reads one device after a complete discovery: the same questions as the library sends, all open at the same time.
     * Returns the number of objects found, or a negative errno. */
    int raw_read(const char* bus_name, const char* device_id);

    /* The same result the obvious way: walks the whole tree of every peer, one call after the other. */
    int naive_read(const char* bus_name, const char* device_id);

#ifdef __cplusplus
}
#endif
