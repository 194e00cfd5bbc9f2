#include "statement.h"

#include <chrono>
#include <thread>

#include "text.h"
#include "tsql_parser.h"

namespace standin {

void StatementHandle::Prepare(const std::string& sql) {
    Close();
    prepared_ = false;
    batch_ = {};
    text_ = sql;
    connection_.Open();
    batch_ = ParseBatch(sql);
    prepared_ = true;
}

SQLRETURN StatementHandle::Execute() {
    Close();
    connection_.Open();
    if (static_cast<std::size_t>(batch_.parameters) > parameters.size()) {
        FailInDriver("07002", "COUNT field incorrect or syntax error");
    }
    connection_.Claim(this);
    next_ = 0;
    return Run();
}

SQLRETURN StatementHandle::Run() {
    connection_.Open().ClearCancel();
    rowCount_ = -1;
    changed_ = false;
    try {
        while (next_ < batch_.statements.size() && !open_) RunOne(batch_.statements[next_++]);
    } catch (const SqlError&) {
        Close();
        throw;
    }
    if (!open_) connection_.Release(this);
    return changed_ && rowCount_ == 0 ? SQL_NO_DATA : SQL_SUCCESS;
}

SQLRETURN StatementHandle::MoreResults() {
    const std::size_t next = next_;
    Close();
    next_ = next;
    if (next_ >= batch_.statements.size()) return SQL_NO_DATA;
    connection_.Claim(this);
    Run();
    return SQL_SUCCESS;
}

void StatementHandle::Close() {
    if (compiled_) sqlite3_reset(compiled_.get());
    connection_.Release(this);
    next_ = batch_.statements.size();
    open_ = atEnd_ = onRow_ = false;
    columns_.clear();
    readOffsets_.clear();
}

void StatementHandle::Forget() {
    Close();
    compiled_.reset();
    compiledText_.clear();
}

// ---- running -----------------------------------------------------------------------------------

struct StatementHandle::Runner {
    StatementHandle& handle;

    Translator Translate() const {
        handle.connection_.Open().EnterStatement();
        return {handle.connection_.Open().Names(), types};
    }
    void operator()(const SelectStatement& select) const { handle.OpenCursor(select); }
    void operator()(const InsertStatement& insert) const { handle.RunChange(Translate().Insert(insert)); }
    void operator()(const UpdateStatement& update) const { handle.RunChange(Translate().Update(update)); }
    void operator()(const DeleteStatement& statement) const {
        handle.RunChange(Translate().Delete(statement));
    }
    void operator()(const Command& command) const { handle.RunCommand(command); }
    void operator()(const std::unique_ptr<IfStatement>& statement) const {
        if (handle.TestCondition(*statement->condition)) handle.RunOne(statement->body);
    }
    template <class Definition>
    void operator()(const Definition& definition) const {
        Session& session = handle.connection_.Open();
        session.EnterStatement();
        WriteScope scope(session);
        Define(session.Names(), definition);
        scope.Done();
    }
    static void Define(Catalogue& names, const CreateTableStatement& table) { names.CreateTable(table); }
    static void Define(Catalogue& names, const AddColumnStatement& columns) { names.AddColumns(columns); }
    static void Define(Catalogue& names, const CreateIndexStatement& index) { names.CreateIndex(index); }

    std::vector<Type> types = handle.ParameterTypes();
};

void StatementHandle::RunOne(const Statement& statement) {
    std::visit(Runner{*this}, statement);
}

std::vector<Type> StatementHandle::ParameterTypes() const {
    std::vector<Type> types;
    for (int i = 1; i <= batch_.parameters; ++i) {
        const auto found = parameters.find(static_cast<SQLUSMALLINT>(i));
        types.push_back(found == parameters.end() ? Type{TypeId::kNVarChar, kMaxLength}
                                                  : TypeOfParameter(found->second));
    }
    return types;
}

void StatementHandle::Compile(const std::string& sql) {
    if (compiled_ && compiledText_ == sql) {
        sqlite3_reset(compiled_.get());
    } else {
        compiled_ = standin::Prepare(connection_.Open().Db(), sql);
        compiledText_ = sql;
    }
    BindParameters();
}

void StatementHandle::BindParameters() {
    for (int i = 1; i <= sqlite3_bind_parameter_count(compiled_.get()); ++i) {
        const Cell cell = ReadParameter(parameters.at(static_cast<SQLUSMALLINT>(i)));
        if (const auto* text = std::get_if<std::string>(&cell)) {
            sqlite3_bind_text64(compiled_.get(), i, text->data(), text->size(), SQLITE_TRANSIENT,
                                SQLITE_UTF8);
        } else if (const auto* number = std::get_if<std::int64_t>(&cell)) {
            sqlite3_bind_int64(compiled_.get(), i, *number);
        } else {
            sqlite3_bind_null(compiled_.get(), i);
        }
    }
}

void StatementHandle::OpenCursor(const SelectStatement& select) {
    Session& session = connection_.Open();
    session.EnterStatement();
    const std::vector<Type> types = ParameterTypes();
    Query query = Translator(session.Names(), types).Select(select);
    Compile(query.sql);
    columns_ = std::move(query.columns);
    rowCount_ = -1;
    changed_ = false;
    open_ = true;
}

void StatementHandle::RunChange(const std::string& sql) {
    Compile(sql);
    Step(compiled_.get());
    rowCount_ = static_cast<SQLLEN>(sqlite3_changes64(connection_.Open().Db()));
    changed_ = true;
    sqlite3_reset(compiled_.get());
}

bool StatementHandle::TestCondition(const Expr& condition) {
    Session& session = connection_.Open();
    const std::vector<Type> types = ParameterTypes();
    Compile(Translator(session.Names(), types).Test(condition));
    Step(compiled_.get());
    const bool holds = sqlite3_column_int(compiled_.get(), 0) != 0;
    sqlite3_reset(compiled_.get());
    return holds;
}

void StatementHandle::RunCommand(const Command& command) {
    Session& session = connection_.Open();
    const auto needTransaction = [&](int native, const char* word) {
        if (session.InTransaction()) return;
        Fail("42000", native,
             std::string("The ") + word + " TRANSACTION request has no corresponding BEGIN TRANSACTION.");
    };
    switch (command.kind) {
        case CommandKind::kNothing:
            return;
        case CommandKind::kUse:
            return session.Names().Use(command.name[0]);
        case CommandKind::kSetLockTimeout:
            return session.SetLockTimeout(command.number);
        case CommandKind::kWait:
            return std::this_thread::sleep_for(std::chrono::milliseconds(command.number));
        case CommandKind::kBegin:
            if (session.InTransaction()) {
                Fail("42000", 3989, "Nested transactions are not supported by the stand-in.");
            }
            return session.Begin();
        case CommandKind::kCommit:
            return needTransaction(3902, "COMMIT"), session.Commit();
        case CommandKind::kRollback:
            return needTransaction(3903, "ROLLBACK"), session.Rollback();
        default:
            return RunDatabaseCommand(command);
    }
}

void StatementHandle::RunDatabaseCommand(const Command& command) {
    Session& session = connection_.Open();
    const bool onDatabase =
        command.kind != CommandKind::kCreateSchema && command.kind != CommandKind::kDropTable;
    if (onDatabase && (session.IsManual() || session.InTransaction())) {
        Fail("42000", 226,
             "CREATE, ALTER or DROP DATABASE statement not allowed within multi-statement transaction.");
    }
    session.EnterStatement();
    WriteScope scope(session);
    Catalogue& names = session.Names();
    switch (command.kind) {
        case CommandKind::kCreateDatabase:
            names.CreateDatabase(command.name[0]);
            break;
        case CommandKind::kDropDatabase:
            names.DropDatabase(command.name[0], command.ifExists);
            break;
        case CommandKind::kSetOffline:
            names.SetOffline(command.name[0], true);
            break;
        case CommandKind::kSetOnline:
            names.SetOffline(command.name[0], false);
            break;
        case CommandKind::kCreateSchema:
            names.CreateSchema(command.name[0]);
            break;
        default:
            names.DropTable(command.name, command.ifExists);
            break;
    }
    scope.Done();
}

// ---- results -----------------------------------------------------------------------------------

const std::vector<ResultColumn>& StatementHandle::Columns() {
    if (!open_ && columns_.empty() && prepared_ && !batch_.statements.empty()) {
        if (const auto* select = std::get_if<SelectStatement>(&batch_.statements.front())) {
            const std::vector<Type> types = ParameterTypes();
            columns_ = Translator(connection_.Open().Names(), types).Select(*select).columns;
        }
    }
    return columns_;
}

SQLRETURN StatementHandle::Fetch() {
    if (!open_) FailInDriver("24000", "Invalid cursor state");
    connection_.Open();
    readOffsets_.clear();
    onRow_ = false;
    try {
        onRow_ = !atEnd_ && Step(compiled_.get());
    } catch (const SqlError&) {
        atEnd_ = true;  // the server sends nothing behind an error
        sqlite3_reset(compiled_.get());
        throw;
    }
    if (!onRow_) {
        atEnd_ = true;
        sqlite3_reset(compiled_.get());
        if (next_ >= batch_.statements.size()) connection_.Release(this);
        return SQL_NO_DATA;
    }
    SQLRETURN result = SQL_SUCCESS;
    for (const auto& [number, target] : targets) {
        if (number == 0 || number > columns_.size()) FailInDriver("07009", "Invalid Descriptor Index");
        std::size_t offset = 0;
        const int column = number - 1;
        const SQLRETURN one = WriteValue(*this, ColumnCell(compiled_.get(), column),
                                         columns_[number - 1U].type, target, offset);
        if (one != SQL_SUCCESS) result = SQL_SUCCESS_WITH_INFO;
    }
    return result;
}

SQLRETURN StatementHandle::GetData(std::size_t column, const ColumnTarget& target) {
    if (!onRow_) FailInDriver("24000", "Invalid cursor state");
    if (column == 0 || column > columns_.size()) FailInDriver("07009", "Invalid Descriptor Index");
    const Cell cell = ColumnCell(compiled_.get(), static_cast<int>(column) - 1);
    return WriteValue(*this, cell, columns_[column - 1].type, target, readOffsets_[column]);
}

}  // namespace standin
