#include "meta_schema.h"

namespace posctl {

// The published text, one line with its tabs; the pieces only split it for
// reading.
const char kMetaSchemaText[] =
    "<kInt\t\t\t< category string oneof [int] > kReal\t\t\t< category string oneof [real] "
    "> kString\t\t< category string oneof [string] > kUnicodeString\t< category string "
    "oneof [unicodestring] > kBinData\t\t< category string oneof [bindata] > kObjRef\t\t< "
    "category string oneof [objref] > kArray\t\t\t< category string oneof [array] > kDict\t\t\t< "
    "category string oneof [dict] > kUnion\t\t\t< category string oneof [union] > kIntersection\t< "
    "category string oneof [intersection] > StringList\t\t< category array membertype "
    "string > TypeName\t\t< category string minlen 1 > TypeList\t\t< category array membertype "
    "TypeName > IntDefn\t\t< category dict required\t\t< category kInt > optional\t\t< "
    "min int minexcl int max int maxexcl int> >RealDefn\t\t< category dict required\t\t< "
    "category kReal > optional\t\t< min real minexcl real max real maxexcl real> >StringDefn\t\t< "
    "category dict required\t\t< category kString > optional\t\t< minlen real    maxlen "
    "real    illegalchars string    oneof StringList > >UnicodeStringDefn < category "
    "dict required\t\t< category kUnicodeString > optional\t\t< minlen real    maxlen "
    "real > >BinDataDefn\t< category dict required\t\t< category kBinData > optional\t\t< "
    "minlen real    maxlen real    oneof StringList > >ObjRefDefn\t< category dict required\t\t< "
    "category kObjRef > >HomoArrayDefn\t< category dict required\t\t< category kArray "
    "membertype TypeName> optional\t\t< minlen real maxlen real > >HeteroArrayDefn< category "
    "dict required\t\t< category kArray membertype TypeList> >ArrayDefn < category union "
    "set [ HomoArrayDefn HeteroArrayDefn ] > DictMemberName\t\t< category string minlen "
    "1 >DictMemberDict\t\t< category dict keytype DictMemberName valuetype TypeName > "
    "DictDefn\t\t\t< category dict required\t\t\t< category kDict > optional\t\t\t< keytype "
    "TypeName valuetype TypeName required DictMemberDict optional DictMemberDict > > "
    "UnionDefn\t\t\t< category dict required\t\t\t< category kUnion set TypeList > > "
    "IntersectionDefn\t< category dict required\t\t\t< category kIntersection set TypeList "
    "> > TypeDefn\t\t\t< category union set [ DictDefn ArrayDefn IntDefn RealDefn StringDefn "
    "UnicodeStringDefn BinDataDefn ObjRefDefn UnionDefn IntersectionDefn ] >StructSchema\t\t< "
    "category dict keytype TypeName valuetype TypeDefn > >";

}  // namespace posctl
