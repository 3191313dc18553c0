#include "render/render_plan.h"

#include "panel.h"
#include "render/render_scene.h"
#include "render/render_stages.h"

namespace host
{
namespace
{
class Planner final : public render::RenderStages
{
public:
  Planner(BaseDocument* d, const RenderOptions& o, String* e, RenderPlan* p) : RenderStages(d, o, e), plan(p) {}

  Bool Run()
  {
    if (!CheckInput())
      return false;
    GatherVideoPosts();
    const Bool ok = Drive();
    plan->width = width;
    plan->height = height;
    plan->imagesPerFrame = imageCount;
    for (const render::ActiveVideoPost& vp : videoPosts)
      if (vp.info & VIDEOPOSTINFO_CUSTOMLENS)
        plan->customLens.push_back(vp.node);
    return ok;
  }

private:
  Bool InsideSequence(size_t&, size_t) override
  {
    // The host evaluates a document before it renders it.
  ExecuteExpressions(doc);
  plan->camera = render::FindRenderCamera(doc);
    return true;
  }

  RenderPlan* plan;
};
} // namespace

Bool PlanRender(BaseDocument* doc, const RenderOptions& options, RenderPlan* plan, String* error)
{
  *plan = RenderPlan();
  String ignored;
  String* message = error ? error : &ignored;
  if (!doc)
  {
    *message = String("no document to render");
    return false;
  }
  plan->camera = render::FindRenderCamera(doc);
  // The start of the first frame tells all a plan needs; an animated document would start again
  // for every frame.
  RenderOptions first = options;
  if (!first.frameList.empty())
    first.frameList.resize(1);
  else if (first.firstFrame || first.lastFrame)
    first.firstFrame = first.lastFrame = first.firstFrame ? first.firstFrame : first.lastFrame;
  Planner planner(doc, first, message, plan);
  return planner.Run();
}
} // namespace host
