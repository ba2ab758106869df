#pragma once

#include "mailhost/mail/Message.h"
#include "platform/foundation/Dictionary.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mailhost {

// One condition of a rule or a smart mailbox: what is tested (the criterion type, and
// its identifier, the name under which the type is saved), how (the qualifier) and
// against what (the expression); or, for a compound criterion, a list of criteria of
// which all or any must hold. Identifiers are what is stored, so that a saved criterion
// finds its type again through `criterionTypeForString:` whichever bundles add types.
class MessageCriterion : public Object, public std::enable_shared_from_this<MessageCriterion> {
public:
    static constexpr const char* kClassName = "MessageCriterion";

    // Types the host gives a meaning of its own beyond its header criteria.
    static constexpr int kCompoundType = 26;
    static constexpr int kBodyType = 34;
    static constexpr const char* kCompoundIdentifier = "Compound";
    // A criterion whose expression is a metadata query, answered by the index.
    static constexpr const char* kMetadataQueryIdentifier = "MatadorBody";

    // The host's qualifier codes.
    enum Qualifier : int {
        kContains = 0,
        kBeginsWith = 1,
        kEndsWith = 2,
        kIsEqualTo = 3,
        kDoesNotContain = 4,
        kIsLessThan = 5,
        kIsGreaterThan = 6,
    };

    // Keys of the dictionary form (rules and smart mailboxes are saved in it).
    static constexpr const char* kIdentifierKey = "CriterionIdentifier";
    static constexpr const char* kQualifierKey = "Qualifier";
    static constexpr const char* kExpressionKey = "Expression";
    static constexpr const char* kCriteriaKey = "Criteria";
    static constexpr const char* kAllKey = "AllCriteriaMustBeSatisfied";

    // Defines "MessageCriterion" and its replaceable methods:
    //   class    criterionTypeForString:        int(Class*, Sel, std::string)
    //   class    stringForCriterionType:        std::string(Class*, Sel, int)
    //   instance doesMessageSatisfyCriterion:   bool(Object*, Sel, Message*)
    //   instance containsBodyCriterion          bool(Object*, Sel)
    //   instance isValid:                       bool(Object*, Sel, std::string* why)
    //   instance dealloc                        void(Object*, Sel)
    // and, on "Library", the class method fixCriterion: (see CriterionFixing).
    static Class& registerClass();

    // A new, empty criterion made through the class's factory (a posing class supplies it).
    static std::shared_ptr<MessageCriterion> create();
    // `initWithDictionary:` on a new criterion: the type comes from the identifier.
    static std::shared_ptr<MessageCriterion> withDictionary(const platform::Dictionary& dictionary);

    explicit MessageCriterion(Class* cls) : Object(cls) {}
    ~MessageCriterion() override;

    int criterionType() const { return type_; }
    void setCriterionType(int type) { type_ = type; }
    const std::string& criterionIdentifier() const { return identifier_; }
    void setCriterionIdentifier(std::string identifier) { identifier_ = std::move(identifier); }
    int qualifier() const { return qualifier_; }
    void setQualifier(int qualifier) { qualifier_ = qualifier; }
    // Nothing is a criterion without an expression (not the same as an empty one).
    const std::optional<std::string>& expression() const { return expression_; }
    void setExpression(std::optional<std::string> expression) { expression_ = std::move(expression); }
    // The sub-criteria of a compound criterion, in order; editable in place.
    std::vector<std::shared_ptr<MessageCriterion>>& criteria() { return criteria_; }
    const std::vector<std::shared_ptr<MessageCriterion>>& criteria() const { return criteria_; }
    bool allCriteriaMustBeSatisfied() const { return all_; }
    void setAllCriteriaMustBeSatisfied(bool all) { all_ = all; }

    // The saved form and its reading; reading sets the type from the identifier.
    platform::Dictionary dictionaryRepresentation() const;
    void initWithDictionary(const platform::Dictionary& dictionary);

    // The replaceable methods, through their seams.
    static int criterionTypeForString(const std::string& identifier);
    static std::string stringForCriterionType(int type);
    bool doesMessageSatisfyCriterion(Message* message);
    bool containsBodyCriterion();
    bool isValid(std::string* why);

    // The host's implementations: compounds here, everything else of the host's own
    // types through HostCriteria.
    static int hostCriterionTypeForString(Class*, Sel, std::string identifier);
    static std::string hostStringForCriterionType(Class*, Sel, int type);
    static bool hostDoesMessageSatisfyCriterion(Object* self, Sel, Message* message);
    static bool hostContainsBodyCriterion(Object* self, Sel);
    static bool hostIsValid(Object* self, Sel, std::string* why);
    static void hostDealloc(Object*, Sel) {}

private:
    int type_ = 0;
    std::string identifier_;
    int qualifier_ = kContains;
    std::optional<std::string> expression_;
    std::vector<std::shared_ptr<MessageCriterion>> criteria_;
    bool all_ = true;
};

// The criterion class of rules: a MessageCriterion in every respect. Editors and the
// tag translation make their copies of a smart mailbox's criteria from this class.
class MessageRuleCriterion : public MessageCriterion {
public:
    static constexpr const char* kClassName = "MessageRuleCriterion";
    static Class& registerClass();
    static std::shared_ptr<MessageCriterion> create();
    static std::shared_ptr<MessageCriterion> withDictionary(const platform::Dictionary& dictionary);

    explicit MessageRuleCriterion(Class* cls) : MessageCriterion(cls) {}
};

} // namespace mailhost
