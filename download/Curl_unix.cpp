// SPDX-License-Identifier: Apache-2.0
#include <cstdarg>

#include <curl/curl.h>
#include <dlfcn.h>

// libcurl's functions, as far as this program needs them. With all the libraries
// that it needs itself libcurl would take a fifth of the program's start, and most
// starts download nothing: it is loaded when the first of them is called. Without
// it, or without one of them, each fails as libcurl does without memory.

namespace {

// The library's function of that name and of the same type as the one here.
template <class Function> Function *Find(Function *, const char *name)
{
    static void *const library = dlopen(PRACTORIUM_LIBCURL, RTLD_NOW | RTLD_LOCAL);
    return library ? reinterpret_cast<Function *>(dlsym(library, name)) : nullptr;
}

template <class Function, class Result, class... Arguments>
Result Call(Function *own, const char *name, Result failure, Arguments... arguments)
{
    Function *function = Find(own, name);
    return function ? function(arguments...) : failure;
}

}

// In parentheses, because curl.h has macros of some of the names.
extern "C" {

CURLcode(curl_global_init)(long flags)
{
    return Call(curl_global_init, "curl_global_init", CURLE_FAILED_INIT, flags);
}

CURL *(curl_easy_init)()
{
    return Call(curl_easy_init, "curl_easy_init", static_cast<CURL *>(nullptr));
}

CURLcode(curl_easy_setopt)(CURL *easy, CURLoption option, ...)
{
    const auto set
        = [=](auto value) { return Call(curl_easy_setopt, "curl_easy_setopt", CURLE_FAILED_INIT, easy, option, value); };
    va_list values;
    va_start(values, option);
    CURLcode result = CURLE_OK;
    // The number of an option gives the type of its value; none of those that are
    // set here is an offset.
    if (option < CURLOPTTYPE_OBJECTPOINT)
        result = set(va_arg(values, long));
    else
        result = set(va_arg(values, void *));
    va_end(values);
    return result;
}

CURLcode(curl_easy_getinfo)(CURL *easy, CURLINFO info, ...)
{
    va_list values;
    va_start(values, info);
    const CURLcode result = Call(curl_easy_getinfo, "curl_easy_getinfo", CURLE_FAILED_INIT, easy, info, va_arg(values, void *));
    va_end(values);
    return result;
}

CURLcode(curl_easy_pause)(CURL *easy, int directions)
{
    return Call(curl_easy_pause, "curl_easy_pause", CURLE_FAILED_INIT, easy, directions);
}

void(curl_easy_cleanup)(CURL *easy)
{
    if (auto *function = Find(curl_easy_cleanup, "curl_easy_cleanup"))
        function(easy);
}

const char *(curl_easy_strerror)(CURLcode code)
{
    return Call(curl_easy_strerror, "curl_easy_strerror", "", code);
}

CURLM *(curl_multi_init)()
{
    return Call(curl_multi_init, "curl_multi_init", static_cast<CURLM *>(nullptr));
}

// None of those that are set here is of another type.
CURLMcode(curl_multi_setopt)(CURLM *multi, CURLMoption option, ...)
{
    va_list values;
    va_start(values, option);
    const CURLMcode result
        = Call(curl_multi_setopt, "curl_multi_setopt", CURLM_INTERNAL_ERROR, multi, option, va_arg(values, void *));
    va_end(values);
    return result;
}

CURLMcode(curl_multi_add_handle)(CURLM *multi, CURL *easy)
{
    return Call(curl_multi_add_handle, "curl_multi_add_handle", CURLM_INTERNAL_ERROR, multi, easy);
}

CURLMcode(curl_multi_remove_handle)(CURLM *multi, CURL *easy)
{
    return Call(curl_multi_remove_handle, "curl_multi_remove_handle", CURLM_INTERNAL_ERROR, multi, easy);
}

CURLMcode(curl_multi_socket_action)(CURLM *multi, curl_socket_t socket, int events, int *running)
{
    return Call(curl_multi_socket_action, "curl_multi_socket_action", CURLM_INTERNAL_ERROR, multi, socket, events, running);
}

CURLMsg *(curl_multi_info_read)(CURLM *multi, int *left)
{
    return Call(curl_multi_info_read, "curl_multi_info_read", static_cast<CURLMsg *>(nullptr), multi, left);
}

CURLMcode(curl_multi_cleanup)(CURLM *multi)
{
    return Call(curl_multi_cleanup, "curl_multi_cleanup", CURLM_INTERNAL_ERROR, multi);
}

curl_slist *(curl_slist_append)(curl_slist *list, const char *text)
{
    return Call(curl_slist_append, "curl_slist_append", static_cast<curl_slist *>(nullptr), list, text);
}

void(curl_slist_free_all)(curl_slist *list)
{
    if (auto *function = Find(curl_slist_free_all, "curl_slist_free_all"))
        function(list);
}
}
