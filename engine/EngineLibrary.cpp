// The engine library's first translation unit; the export stages join it as they are built.
namespace KastrelEngine {
} // namespace KastrelEngine
