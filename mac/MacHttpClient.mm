#include "MacHttpClient.h"

#import <Foundation/Foundation.h>

#include "Conversions.h"

namespace brisel::mac {

void MacHttpClient::get(const std::string& url, Duration timeout,
                        std::function<void(std::optional<HttpResponse>)> completion) {
    NSURL* address = [NSURL URLWithString:nsString(url)];
    if (!address) {
        // Nothing can be sent to an address the URL loader cannot parse.
        completion(std::nullopt);
        return;
    }
    NSMutableURLRequest* request =
        [NSMutableURLRequest requestWithURL:address
                                cachePolicy:NSURLRequestReloadIgnoringLocalCacheData
                            timeoutInterval:std::chrono::duration<double>(timeout).count()];
    request.HTTPMethod = @"GET";
    NSURLSessionDataTask* task = [NSURLSession.sharedSession
        dataTaskWithRequest:request
          completionHandler:^(NSData* data, NSURLResponse* response, NSError* error) {
            if (error) {
                completion(std::nullopt);
                return;
            }
            HttpResponse answer;
            answer.isHTTP = [response isKindOfClass:NSHTTPURLResponse.class];
            if (answer.isHTTP) answer.status = static_cast<long>(static_cast<NSHTTPURLResponse*>(response).statusCode);
            answer.url = stdString(response.URL.absoluteString);
            answer.body.assign(static_cast<const char*>(data.bytes), data.length);
            completion(std::move(answer));
          }];
    [task resume];
}

}  // namespace brisel::mac
