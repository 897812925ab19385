// The WQL that indication filters may use:
//   SELECT * FROM <indication class> [WHERE <condition>]
// where a condition combines with AND, OR, NOT and parentheses
//   <operand> ISA <class>              (operand: SourceInstance or PreviousInstance)
//   <operand> <op> <operand>           (op: = <> < > <= >=)
//   <operand> IS [NOT] NULL
// and an operand is a literal (string in single or double quotes, number,
// TRUE, FALSE, NULL), a property of the indication, or a property of one of
// its embedded instances (SourceInstance.JobState). Names are
// case-insensitive.
//
// parse() throws CIMException: CIM_ERR_INVALID_QUERY for text that is not a
// query, CIM_ERR_NOT_SUPPORTED for a query outside this subset. A parsed
// query is immutable and may be evaluated from several threads at once.
#ifndef CIMHOST_WQL_QUERY_H
#define CIMHOST_WQL_QUERY_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cimhost
{

class WqlQuery
{
public:
    // Whether class `name` is `base` or one of its subclasses.
    typedef std::function<bool(const Pegasus::CIMName& name, const Pegasus::CIMName& base)>
        IsA;

    static WqlQuery parse(const std::string& text);

    // The class after FROM.
    const Pegasus::CIMName& fromClass() const { return _from; }

    // The classes the WHERE condition names in `SourceInstance ISA <class>`,
    // each once, in the order they appear.
    std::vector<Pegasus::CIMName> sourceClasses() const;

    // Whether the indication satisfies the WHERE condition (true without
    // one). A comparison with a missing or null value is false.
    bool matches(const Pegasus::CIMInstance& indication, const IsA& isA) const;

    struct Node;

private:
    Pegasus::CIMName _from;
    std::shared_ptr<const Node> _where;
};

} // namespace cimhost

#endif
