#pragma once

#include <TarnwickLib/Algorithm/Configurable.h>
#include <TarnwickLib/Data/DataList.h>

#include <string>

namespace Tarnwick {

class Progress;

/// Base of every algorithm: a Configurable with a compute step, a status and an owned output.
///
/// The host creates an algorithm on a selection of data through its factory (the class's static
/// `createCompatible(const DataList&, Algorithm**)`), lets the user set its parameters, calls
/// compute() on the calling thread and takes the new data with takeOutput(). Failures are reported,
/// not thrown: compute() logs a message and sets the status.
class Algorithm : public Configurable {
public:
    /// Status values; algorithms may use further values of their own.
    /// Canceled: the user stopped the run through its Progress; whatever it produced is discarded.
    enum Status : int { Success = 0, Error = 1, InvalidInput = 2, IncompleteInput = 3, Canceled = 4 };
    /// "success", "error", "invalid input", "incomplete input", "canceled", or "failure" for other values.
    static const char* statusText(int status);

    /// How the algorithm was created: its catalogue identifier and menu name, and the selection it
    /// was created on (borrowed). Empty when the algorithm was constructed directly.
    struct FactoryInfo {
        std::string id;
        std::string menuName;
        DataList inputs;
    };

    Algorithm() = default;
    Algorithm(const Algorithm&) = delete;
    Algorithm& operator=(const Algorithm&) = delete;
    ~Algorithm() override;

    /// Runs the algorithm and sets the status.
    virtual void compute() = 0;

    /// The data produced by the last compute(), still owned by the algorithm.
    virtual const OwningDataList& output() const { return m_output; }
    /// Hands the produced data to the caller; afterwards the algorithm holds none.
    virtual OwningDataList takeOutput();

    int status() const { return m_status; }
    void setStatus(int status) { m_status = status; }

    /// Progress reporter for compute(); borrowed, may be null (the default).
    void setProgress(Progress* progress) { m_progress = progress; }
    Progress* progress() const { return m_progress; }

    /// Whether the algorithm stays usable when `data` is deleted. By default it does unless `data`
    /// is one of the inputs it was created on.
    virtual bool survivesDataDeletion(const Data* data) const;

    const FactoryInfo& factoryInfo() const { return m_factoryInfo; }
    void setFactoryInfo(FactoryInfo info) { m_factoryInfo = std::move(info); }

protected:
    /// Output accumulated by compute() for the default output()/takeOutput().
    OwningDataList m_output;

private:
    int m_status = Success;
    Progress* m_progress = nullptr;
    FactoryInfo m_factoryInfo;
};

} // namespace Tarnwick
