#include <cstdarg>

#include <curl/curl.h>
#include <dlfcn.h>

// libcurl's functions, as far as this program needs them. With all the libraries
// that it needs itself libcurl would take a fifth of the program's start, and most
// starts download nothing: it is loaded when the first of them is called. Without
// it, or without one of them, each fails as libcurl does without memory.

namespace {

template <class Function> Function *Find(const char *name)
{
    static void *const library = dlopen(PRACTORIUM_LIBCURL, RTLD_NOW | RTLD_LOCAL);
    return library ? reinterpret_cast<Function *>(dlsym(library, name)) : nullptr;
}

}

// In parentheses, because curl.h has macros of some of the names.
extern "C" {

CURLcode(curl_global_init)(long flags)
{
    static const auto function = Find<decltype(curl_global_init)>("curl_global_init");
    return function ? function(flags) : CURLE_FAILED_INIT;
}

CURL *(curl_easy_init)()
{
    static const auto function = Find<decltype(curl_easy_init)>("curl_easy_init");
    return function ? function() : nullptr;
}

CURLcode(curl_easy_setopt)(CURL *easy, CURLoption option, ...)
{
    static const auto function = Find<decltype(curl_easy_setopt)>("curl_easy_setopt");
    if (!function)
        return CURLE_FAILED_INIT;
    va_list values;
    va_start(values, option);
    CURLcode result = CURLE_OK;
    // The number of an option tells the type of its value.
    if (option < CURLOPTTYPE_OBJECTPOINT)
        result = function(easy, option, va_arg(values, long));
    else if (option >= CURLOPTTYPE_OFF_T && option < CURLOPTTYPE_BLOB)
        result = function(easy, option, va_arg(values, curl_off_t));
    else
        result = function(easy, option, va_arg(values, void *));
    va_end(values);
    return result;
}

CURLcode(curl_easy_getinfo)(CURL *easy, CURLINFO info, ...)
{
    static const auto function = Find<decltype(curl_easy_getinfo)>("curl_easy_getinfo");
    if (!function)
        return CURLE_FAILED_INIT;
    va_list values;
    va_start(values, info);
    const CURLcode result = function(easy, info, va_arg(values, void *));
    va_end(values);
    return result;
}

CURLcode(curl_easy_pause)(CURL *easy, int directions)
{
    static const auto function = Find<decltype(curl_easy_pause)>("curl_easy_pause");
    return function ? function(easy, directions) : CURLE_FAILED_INIT;
}

void(curl_easy_cleanup)(CURL *easy)
{
    static const auto function = Find<decltype(curl_easy_cleanup)>("curl_easy_cleanup");
    if (function)
        function(easy);
}

const char *(curl_easy_strerror)(CURLcode code)
{
    static const auto function = Find<decltype(curl_easy_strerror)>("curl_easy_strerror");
    return function ? function(code) : "";
}

CURLM *(curl_multi_init)()
{
    static const auto function = Find<decltype(curl_multi_init)>("curl_multi_init");
    return function ? function() : nullptr;
}

CURLMcode(curl_multi_setopt)(CURLM *multi, CURLMoption option, ...)
{
    static const auto function = Find<decltype(curl_multi_setopt)>("curl_multi_setopt");
    if (!function)
        return CURLM_INTERNAL_ERROR;
    va_list values;
    va_start(values, option);
    const int number = option;
    const CURLMcode result = number < CURLOPTTYPE_OBJECTPOINT ? function(multi, option, va_arg(values, long))
                                                              : function(multi, option, va_arg(values, void *));
    va_end(values);
    return result;
}

CURLMcode(curl_multi_add_handle)(CURLM *multi, CURL *easy)
{
    static const auto function = Find<decltype(curl_multi_add_handle)>("curl_multi_add_handle");
    return function ? function(multi, easy) : CURLM_INTERNAL_ERROR;
}

CURLMcode(curl_multi_remove_handle)(CURLM *multi, CURL *easy)
{
    static const auto function = Find<decltype(curl_multi_remove_handle)>("curl_multi_remove_handle");
    return function ? function(multi, easy) : CURLM_INTERNAL_ERROR;
}

CURLMcode(curl_multi_socket_action)(CURLM *multi, curl_socket_t socket, int events, int *running)
{
    static const auto function = Find<decltype(curl_multi_socket_action)>("curl_multi_socket_action");
    return function ? function(multi, socket, events, running) : CURLM_INTERNAL_ERROR;
}

CURLMsg *(curl_multi_info_read)(CURLM *multi, int *left)
{
    static const auto function = Find<decltype(curl_multi_info_read)>("curl_multi_info_read");
    return function ? function(multi, left) : nullptr;
}

CURLMcode(curl_multi_cleanup)(CURLM *multi)
{
    static const auto function = Find<decltype(curl_multi_cleanup)>("curl_multi_cleanup");
    return function ? function(multi) : CURLM_INTERNAL_ERROR;
}

curl_slist *(curl_slist_append)(curl_slist *list, const char *text)
{
    static const auto function = Find<decltype(curl_slist_append)>("curl_slist_append");
    return function ? function(list, text) : nullptr;
}

void(curl_slist_free_all)(curl_slist *list)
{
    static const auto function = Find<decltype(curl_slist_free_all)>("curl_slist_free_all");
    if (function)
        function(list);
}
}
