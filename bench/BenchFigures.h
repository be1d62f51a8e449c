#pragma once

// What the benches share: the median of a run's samples, and painting what is pending offscreen.

#include <QCoreApplication>

#include <algorithm>
#include <iterator>

// The median of the samples (the mean of the middle two for an even count); 0 for none.
template <typename Samples>
double median(Samples values)
{
    const auto n = std::size(values);
    if (n == 0)
        return 0;
    std::sort(std::begin(values), std::end(values));
    const auto middle = std::next(std::begin(values), n / 2);
    return n % 2 ? double(*middle) : (double(*std::prev(middle)) + double(*middle)) / 2;
}

// The offscreen platform paints synchronously into its backing store once the posted events are handled.
inline void paintPending()
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}
